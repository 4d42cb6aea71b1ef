#pragma once

#include "Arguments.h"

namespace Client {

/// Checks the files of a cache folder and reports what is wrong with them. False if there are errors;
/// warnings alone are good. Throws WrongUse if there is no such folder.
bool RunCheck(const CheckOptions& options);

}  // namespace Client

#pragma once

#include "Arguments.h"

namespace Client {

/// Writes the contact sheet and reports what it holds. False if some picture failed. Throws WrongUse and
/// Failure if there is no page in the end.
bool RunSheet(const SheetOptions& options);

}  // namespace Client

#pragma once

#include "Arguments.h"

namespace Client {

/// Makes the thumbnails and reports each. False if some file failed. Throws WrongUse and Failure if nothing
/// could be begun.
bool RunThumb(const ThumbOptions& options);

}  // namespace Client

#pragma once

#include "Arguments.h"

namespace Client {

/// Tells what the library knows of each file, and asks it for a thumbnail, which the cache may keep. False if
/// some file failed. Throws WrongUse and Failure if nothing could be begun.
bool RunInfo(const InfoOptions& options);

}  // namespace Client

#pragma once

#include "Arguments.h"

namespace Client {

/// Fills the cache and reports what it did. The exit code: kExitFailed if some picture failed, 128 + the
/// number of a signal that ended it early, which leaves what was made in the cache. Throws WrongUse and
/// Failure if nothing could be begun.
int RunWarm(const WarmOptions& options);

}  // namespace Client

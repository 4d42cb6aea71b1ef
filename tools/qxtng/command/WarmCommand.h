#pragma once

#include <cstddef>
#include <string>

#include "thumbnails/ThumbnailCache.h"

namespace Client {

struct WarmOptions {
    std::string folder;
    bool recursive = false;
    std::size_t workers = 0;  // 0: as many as there are processors
    CacheOptions cache;
};

/// Fills the cache and reports what it did. The exit code: kExitFailed if some picture failed, 128 + the
/// number of a signal that ended it early, which leaves what was made in the cache. Throws WrongUse and
/// Failure if nothing could be begun.
int RunWarm(const WarmOptions& options);

}  // namespace Client

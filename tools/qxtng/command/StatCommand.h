#pragma once

#include "thumbnails/ThumbnailCache.h"

namespace Client {

struct StatOptions {
    bool json = false;
    CacheOptions cache;
};

/// Tells how much is in the cache, by type of file and by size of thumbnail. Throws WrongUse and Failure if
/// there is no cache.
int RunStat(const StatOptions& options);

}  // namespace Client

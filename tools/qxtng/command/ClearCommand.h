#pragma once

#include "thumbnails/ThumbnailCache.h"

namespace Client {

struct ClearOptions {
    CacheOptions cache;
};

/// Removes everything from the cache, and what damage and killed programs left of it. The folder stays.
/// Throws WrongUse and Failure if it cannot be done.
int RunClear(const ClearOptions& options);

}  // namespace Client

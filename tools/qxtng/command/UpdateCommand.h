#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "thumbnails/ThumbnailCache.h"

namespace Client {

struct UpdateOptions {
    std::vector<std::string> paths;  // none: all of the cache
    bool recursive = false;
    std::size_t workers = 0;  // 0: as many as there are processors
    CacheOptions cache;
};

/// Brings the cache up to date with its source files and reports what it did. The exit code: kExitFailed if
/// some file failed or is not in the cache, 128 + the number of a signal that ended it early. Throws
/// WrongUse and Failure if nothing could be begun.
int RunUpdate(const UpdateOptions& options);

}  // namespace Client

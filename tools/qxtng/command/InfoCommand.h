#pragma once

#include <string>
#include <vector>

#include "thumbnails/ThumbnailCache.h"

namespace Client {

struct InfoOptions {
    std::vector<std::string> files;
    bool json = false;
    CacheOptions cache;
};

/// Tells what the library knows of each file, and asks it for a thumbnail, which the cache may keep.
/// kExitFailed if some file failed. Throws WrongUse and Failure if nothing could be begun.
int RunInfo(const InfoOptions& options);

}  // namespace Client

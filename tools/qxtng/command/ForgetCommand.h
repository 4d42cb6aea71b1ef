#pragma once

#include <string>
#include <vector>

#include "thumbnails/ThumbnailCache.h"

namespace Client {

struct ForgetOptions {
    std::vector<std::string> paths;
    bool recursive = false;
    CacheOptions cache;
};

/// Removes files and folders of files from the cache. kExitFailed if one of them is not there, or stays.
/// Throws WrongUse and Failure if nothing could be begun.
int RunForget(const ForgetOptions& options);

}  // namespace Client

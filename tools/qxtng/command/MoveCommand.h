#pragma once

#include <string>

#include "thumbnails/ThumbnailCache.h"

namespace Client {

struct MoveOptions {
    std::string newFolder;
    CacheOptions cache;
};

/// Moves the files of the cache to another folder. Throws WrongUse and Failure if they stay.
int RunMove(const MoveOptions& options);

}  // namespace Client

#pragma once

#include <string>
#include <vector>

#include "common/TNGTypes.h"
#include "thumbnails/ThumbnailCache.h"

namespace Client {

struct ThumbOptions {
    TNGSize box = TNG_LARGE_BOX;
    TNGSourceMode mode = TNG_SOURCE_EMBEDDED_FILLED_OR_DECODE;
    std::string output;
    std::vector<std::string> files;
    CacheOptions cache;
};

/// Makes the thumbnails and reports each. kExitFailed if some file failed. Throws WrongUse and Failure if
/// nothing could be begun.
int RunThumb(const ThumbOptions& options);

}  // namespace Client

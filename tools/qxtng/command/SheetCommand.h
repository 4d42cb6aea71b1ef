#pragma once

#include <string>

#include "common/TNGTypes.h"
#include "thumbnails/ThumbnailCache.h"

namespace Client {

struct SheetOptions {
    TNGSize box = TNG_LARGE_BOX;
    TNGSourceMode mode = TNG_SOURCE_EMBEDDED_FILLED_OR_DECODE;
    std::string page = "contact-sheet.html";
    std::string folder;
    bool recursive = false;
    CacheOptions cache;
};

/// Writes the contact sheet and reports what it holds. kExitFailed if some picture failed. Throws WrongUse
/// and Failure if there is no page in the end.
int RunSheet(const SheetOptions& options);

}  // namespace Client

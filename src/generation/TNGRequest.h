#pragma once

#include <cstdint>
#include <string>

#include "common/TNGTypes.h"
#include "platform/Files.h"

/// What is to be made of which file.
struct TNGRequest {
    std::u16string path;
    TNGSize box{0, 0};
    std::uint32_t eSourceMode = TNG_SOURCE_EMBEDDED_OR_DECODE;
    std::uint32_t eOutputForm = TNG_OUTPUT_IMAGE;
    Platform::WIN32_FIND_DATAW entry;  // of the file, when the request was made
};

/// True if the file still has the time and size of the request's entry: what was made of it meanwhile is of
/// the file that the entry tells of.
bool IsUnchanged(const TNGRequest& request);

/// Small requests are answered from the cache.
inline bool IsSmallRequest(const TNGSize& box) {
    return box.nWidth <= TNG_LARGE_BOX.nWidth && box.nHeight <= TNG_LARGE_BOX.nHeight;
}

inline bool FitsInto(const TNGSize& size, const TNGSize& box) {
    return size.nWidth <= box.nWidth && size.nHeight <= box.nHeight;
}

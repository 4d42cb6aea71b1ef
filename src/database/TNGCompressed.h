#pragma once

#include <cstdint>

#include "common/TNGBuffer.h"
#include "imaging/TNGImageLibrary.h"
#include "store/TNGDataFile.h"

/// An image compressed for the cache, never as PNG.
struct TNGCompressed {
    TNGBuffer pBuffer;
    std::int32_t nSize = 0;

    bool Make(Gdiplus::Image& image) { return SaveImageToMemory(image, false, pBuffer, &nSize) && nSize > 0; }
    TNGThumbnailBytes Bytes() const { return {pBuffer.get(), nSize}; }
};

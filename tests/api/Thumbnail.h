#pragma once

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "api/QxTng.h"
#include "platform/Memory.h"
#include "platform/graphics/Image.h"
#include "support/ImageRaster.h"
#include "support/PictureFiles.h"

namespace TestSupport {

/// The thumbnail of a file as it comes out of one of the three exports.
struct Thumbnail {
    std::uint32_t result = QXTNG_ERROR_FAILED;
    int eOrigin = -1;
    int bDefault = -1;
    Raster pixels;  // of an image or an ARGB buffer
    Bytes compressed;
};

inline Thumbnail Make(TNGOutputForm form, const std::u16string& path, TNGSize box = {160, 160},
                      int eMode = 0) {
    Thumbnail t;
    unsigned char* pBuffer = nullptr;
    if (form == TNG_OUTPUT_IMAGE) {
        Gdiplus::Image* pImage = nullptr;
        t.result =
            QXGenerateThumbnailImageInForeGround(path.c_str(), box, eMode, &pImage, &t.eOrigin, &t.bDefault);
        t.pixels = RasterOf(pImage);
        delete pImage;
    } else if (form == TNG_OUTPUT_COMPRESSED) {
        long nLength = -1;
        t.result = QXGenerateThumbnailCompressedBufferInForeGround(path.c_str(), box, eMode, &pBuffer,
                                                                   &nLength, &t.eOrigin, &t.bDefault);
        t.compressed.assign(pBuffer, pBuffer + nLength);
        EXPECT_TRUE(VirtualFree(pBuffer, 0, MEM_RELEASE));
    } else {
        TNGSize size{9, 9};
        t.result = QXGenerateThumbnailARBGInForeGround(path.c_str(), box, eMode, &pBuffer, &size, &t.eOrigin,
                                                       &t.bDefault);
        t.pixels = Raster(size.nWidth, size.nHeight, 4);
        if (pBuffer) std::memcpy(t.pixels.pixels.data(), pBuffer, t.pixels.pixels.size());
        EXPECT_TRUE(HeapFree(GetProcessHeap(), 0, pBuffer));
    }
    return t;
}

}  // namespace TestSupport

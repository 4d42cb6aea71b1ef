#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "common/TNGBuffer.h"
#include "common/TNGTypes.h"
#include "platform/graphics/Image.h"

/// A thumbnail on its way through a generation flow.
struct TNGThumbnailData {
    TNGBuffer pBuffer;         // compressed; as a result of TNG_OUTPUT_ARGB, pixels
    std::int32_t nLength = 0;  // bytes of the compressed buffer
    std::unique_ptr<Gdiplus::Image> pImage;
    std::uint32_t nWidth = 0;   // as a source: the box of the request. As a result: pixels, or for
    std::uint32_t nHeight = 0;  // TNG_OUTPUT_COMPRESSED the length in bytes, and 0
};

/// Turns a thumbnail, held as a buffer or an image, into the output form, scaled down into the box if it
/// exceeds it. True and the result, or false. The source is used up either way.
bool ConvertThumbnailIntoProperType(TNGThumbnailData source, std::uint32_t eOutputForm,
                                    std::uint32_t eAssetType, TNGThumbnailData* pResult,
                                    const std::u16string& path, int eOrigin);

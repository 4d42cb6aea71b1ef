#include "BackgroundCalls.h"

#include <gtest/gtest.h>

#include <cstring>

#include "platform/Memory.h"
#include "platform/graphics/Image.h"
#include "support/ImageRaster.h"

namespace TestSupport {
namespace {

Raster Copy(const TNGThumbnailResult& record, unsigned nChannels, std::uint32_t nHeight) {
    Raster raster(record.nWidthOrLength, nHeight, nChannels);
    if (record.pResult) std::memcpy(raster.pixels.data(), record.pResult, raster.pixels.size());
    return raster;
}

}  // namespace

std::uint32_t Request::File(const std::u16string& path, TNGSize box, std::uint32_t eForm) {
    return QXGenerateThumbnailInBackGround(path.c_str(), box, TNG_SOURCE_DECODE_ONLY, static_cast<int>(eForm),
                                           &OnResult, this, &nThreadId);
}

void Request::OnResult(TNGBackgroundContext* pContext) {
    Request& request = *static_cast<Request*>(pContext);
    const auto then = request.then;
    then(request);
    ++request.calls;  // the last that is done to it
}

bool IsActive(unsigned nThreadId) {
    int bActive = -1;
    const std::uint32_t result = IsBackGroundThreadActive(nThreadId, &bActive);
    EXPECT_EQ(result, bActive == 1 ? QXTNG_SUCCESS : QXTNG_ERROR_THREAD_NOT_FOUND);
    return bActive == 1;
}

Raster TakeResult(const TNGThumbnailResult& record) {
    if (!record.pResult) return {};
    Raster raster;
    if (record.eOutputForm == TNG_OUTPUT_IMAGE) {
        auto* const pImage = static_cast<Gdiplus::Image*>(record.pResult);
        raster = RasterOf(pImage);
        delete pImage;
    } else if (record.eOutputForm == TNG_OUTPUT_COMPRESSED) {
        raster = Copy(record, 1, 1);
        EXPECT_TRUE(VirtualFree(record.pResult, 0, MEM_RELEASE));
    } else {
        raster = Copy(record, 4, record.nHeight);
        EXPECT_TRUE(HeapFree(GetProcessHeap(), 0, record.pResult));
    }
    return raster;
}

}  // namespace TestSupport

#include <memory>
#include <utility>

#include "TNGThread.h"
#include "TNGThumbnailData.h"
#include "common/TNGLog.h"
#include "common/TNGThreshold.h"
#include "imaging/TNGImageLibrary.h"
#include "imaging/TNGThumbnailProducer.h"

namespace {

constexpr char16_t s_szLogSource[] = u"TNGThread";

bool FitsInto(const TNGSize& size, const TNGSize& box) {
    return size.nWidth <= box.nWidth && size.nHeight <= box.nHeight;
}

// A file in work: what it is, and the request on it.
struct Request {
    const std::u16string& path;
    const TNGSize& box;
    std::uint32_t eSourceMode;
    const Platform::WIN32_FIND_DATAW& entry;
    std::uint32_t eAssetType;
};

// The box to produce for: that of the request, or of the rendition that is kept of videos and large files.
TNGSize ProductionBox(const Request& request, bool bHaveSize) {
    const bool bKept = request.eAssetType == ASSET_TYPE_VIDEO || IsLargeFile(request.entry);
    return bKept && bHaveSize && FitsInto(request.box, TNG_EXTRA_LARGE_BOX) ? TNG_EXTRA_LARGE_BOX
                                                                            : request.box;
}

// Makes the image from the file, or a default image.
std::unique_ptr<Gdiplus::Image> Produce(const Request& request, CTNGThumbnailProducer& producer,
                                        int* peOrigin, int* pbDefault) {
    producer.m_eSourceMode = request.eSourceMode;
    TNGSize originalSize{0, 0};
    const bool bPicture = request.eAssetType == ASSET_TYPE_IMAGE || request.eAssetType == ASSET_TYPE_VIDEO;
    const bool bHaveSize = bPicture && producer.GetOriginalImageSize(&originalSize);
    const TNGSize box = ProductionBox(request, bHaveSize);
    producer.m_nMaxWidth = box.nWidth;
    producer.m_nMaxHeight = box.nHeight;
    if (bHaveSize) return producer.GenerateThumbnailImage(originalSize, pbDefault, peOrigin);
    *pbDefault = 1;
    *peOrigin = ORIGIN_DEFAULT;
    return LoadDefaultThumbnail(request.eAssetType, request.box);
}

// Leaves the result with the caller.
void Deliver(TNGThumbnailData result, Gdiplus::Image** ppImage, std::uint8_t** ppBuffer, TNGSize* pResultSize,
             int eOrigin, int* pbDefault) {
    if (eOrigin == ORIGIN_DEFAULT) *pbDefault = 1;
    if (ppImage) *ppImage = result.pImage.release();
    if (ppBuffer) *ppBuffer = result.pBuffer.release();
    *pResultSize = {result.nWidth, result.nHeight};
}

}  // namespace

std::uint32_t CTNGThread::GenerateThumbnail(const std::u16string& path, const TNGSize& box, int eSourceMode,
                                            const Platform::WIN32_FIND_DATAW& entry, Gdiplus::Image** ppImage,
                                            std::uint8_t** ppBuffer, TNGSize* pResultSize,
                                            std::uint32_t eOutputForm, int* peOrigin, int* pbDefault) {
    TNG_LOG(TNG_LOG_ENTER, u"GenerateThumbnail");
    *pbDefault = 1;
    const Request request{path, box, static_cast<std::uint32_t>(eSourceMode), entry, GetFileAssetType(path)};
    CTNGThumbnailProducer producer(path, request.eAssetType);
    if (producer.m_eStatus != TNG_PRODUCER_OK) {
        TNG_LOG(TNG_LOG_INFO, u"Thumbnail Producer initilisation failed");
        TNG_LOG(TNG_LOG_LEAVE, u"GenerateThumbnail");
        return QXTNG_ERROR_PRODUCTION_FAILED;
    }
    TNGThumbnailData source;
    int bDefault = 1;  // the caller's stays 1 until there is a result
    source.pImage = Produce(request, producer, peOrigin, &bDefault);
    source.nWidth = box.nWidth;
    source.nHeight = box.nHeight;

    TNGThumbnailData result;
    std::uint32_t code = QXTNG_SUCCESS;
    if (source.pImage && ConvertThumbnailIntoProperType(std::move(source), eOutputForm, request.eAssetType,
                                                        &result, path, *peOrigin)) {
        *pbDefault = 0;
        Deliver(std::move(result), ppImage, ppBuffer, pResultSize, *peOrigin, pbDefault);
    } else {
        *pResultSize = {0, 0};
        *pbDefault = 1;
        TNG_LOG(TNG_LOG_INFO, u"GenerateThumbnail: ConvertThumbnailIntoProperType failed!");
        code = QXTNG_ERROR_PRODUCTION_FAILED;
    }
    TNG_LOG(TNG_LOG_LEAVE, u"GenerateThumbnail");
    return code;
}

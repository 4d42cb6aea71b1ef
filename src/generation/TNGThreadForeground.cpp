// The foreground request: everything on the caller's thread.

#include "TNGGeneration.h"
#include "TNGThread.h"
#include "common/TNGLog.h"

namespace {

constexpr char16_t s_szLogSource[] = u"TNGThread";

constexpr TNGGenerationTexts kTexts = {
    .pszEntry = u"CTNGThread::GenerateThumbnail",
    .pszConversion = nullptr,
    .pszNoLibrary = nullptr,
    .pszNoProducer = u"Thumbnail Producer initilisation failed",
    .pszCachedNotConverted =
        u"GenerateThumbnail: ConvertThumbnailIntoProperType failed, Generating from original",
    .pszStoredNotConverted = u"GenerateThumbnail: ConvertThumbnailIntoProperType failed",
    .pszDirectNotConverted = u"GenerateThumbnail: ConvertThumbnailIntoProperType failed!",
};

std::uint32_t CodeOf(TNGGeneration::End end) {
    switch (end) {
        case TNGGeneration::End::Made:
            return QXTNG_SUCCESS;
        case TNGGeneration::End::CacheLocked:
            return QXTNG_ERROR_CACHE_LOCKED;
        case TNGGeneration::End::NotConverted:
        case TNGGeneration::End::NoLibrary:
            return QXTNG_ERROR_PRODUCTION_FAILED;
        default:
            return QXTNG_ERROR_FAILED;
    }
}

}  // namespace

std::uint32_t CTNGThread::GenerateThumbnail(const TNGRequest& request, Gdiplus::Image** ppImage,
                                            std::uint8_t** ppBuffer, TNGSize* pResultSize, int* peOrigin,
                                            int* pbDefault) {
    TNG_LOG(TNG_LOG_ENTER, u"GenerateThumbnail");
    *pbDefault = 1;
    std::optional<CTNGThumbnailProducer> producer;
    TNGGeneration generation(request, kTexts, producer, nullptr);
    const TNGGeneration::End end = generation.Run();
    if (generation.m_eOrigin != TNGGeneration::kNoOrigin) *peOrigin = generation.m_eOrigin;
    *pResultSize = {0, 0};
    if (end == TNGGeneration::End::Made) {
        TNGThumbnailData& result = generation.Result();
        *pbDefault = generation.m_bDefault;
        *pResultSize = {result.nWidth, result.nHeight};
        if (ppImage) *ppImage = result.pImage.release();
        if (ppBuffer) *ppBuffer = result.pBuffer.release();
    }
    if (end != TNGGeneration::End::CacheLocked) TNG_LOG(TNG_LOG_LEAVE, u"GenerateThumbnail");
    return CodeOf(end);
}

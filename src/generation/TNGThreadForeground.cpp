// The life of a foreground request.

#include <memory>
#include <optional>
#include <utility>

#include "TNGCacheVisit.h"
#include "TNGThread.h"
#include "common/TNGLog.h"
#include "common/TNGPngName.h"
#include "common/TNGThreshold.h"
#include "database/TNGDBMgr.h"
#include "imaging/TNGImageLibrary.h"
#include "imaging/TNGThumbnailProducer.h"

namespace {

constexpr char16_t s_szLogSource[] = u"TNGThread";

bool IsPictureOrVideo(std::uint32_t eAssetType) {
    return eAssetType == ASSET_TYPE_IMAGE || eAssetType == ASSET_TYPE_VIDEO;
}

/// A foreground request in work.
class ForegroundRequest {
  public:
    ForegroundRequest(const TNGRequest& request, Gdiplus::Image** ppImage, std::uint8_t** ppBuffer,
                      TNGSize* pResultSize, int* peOrigin, int* pbDefault)
        : m_request(request),
          m_bPng(HasPngExtension(request.path)),
          m_ppImage(ppImage),
          m_ppBuffer(ppBuffer),
          m_pResultSize(pResultSize),
          m_peOrigin(peOrigin),
          m_pbDefault(pbDefault) {}

    std::uint32_t Run() {
        const bool bCacheOn = s_pDBMgr->IsCacheEnabled();
        return bCacheOn && !m_bPng && IsSmallRequest(m_request.box) ? RunThroughCache()
                                                                    : RunDirectly(bCacheOn);
    }

  private:
    std::uint32_t RunThroughCache();
    bool ReadFromCache(TNGThumbnailData* pSource);
    std::uint32_t GenerateForCache();

    std::uint32_t RunDirectly(bool bCacheOn);
    bool IsKept() const;
    bool LoadKept();
    void Produce(CTNGThumbnailProducer& producer);
    bool IsFoodForCache() const;

    bool ConvertAndDeliver(TNGThumbnailData source);
    std::uint32_t Fail(std::uint32_t code);
    std::uint32_t FailOfProducer();

    TNGThumbnailData SourceOf(std::unique_ptr<Gdiplus::Image> pImage) const {
        TNGThumbnailData source;
        source.pImage = std::move(pImage);
        source.nWidth = m_request.box.nWidth;
        source.nHeight = m_request.box.nHeight;
        return source;
    }

    const TNGRequest& m_request;
    const bool m_bPng;
    Gdiplus::Image** m_ppImage;
    std::uint8_t** m_ppBuffer;
    TNGSize* m_pResultSize;
    int* m_peOrigin;
    int* m_pbDefault;

    std::uint32_t m_eAssetType = ASSET_TYPE_UNKNOWN;
    std::unique_ptr<Gdiplus::Image> m_pImage;
    TNGSize m_originalSize{0, 0};
    int m_bDefault = 1;  // of the image in work
};

bool ForegroundRequest::ConvertAndDeliver(TNGThumbnailData source) {
    TNGThumbnailData result;
    if (!ConvertThumbnailIntoProperType(std::move(source), m_request.eOutputForm, m_eAssetType, &result,
                                        m_request.path, *m_peOrigin)) {
        *m_pResultSize = {0, 0};
        return false;
    }
    if (*m_peOrigin == ORIGIN_DEFAULT) *m_pbDefault = 1;
    if (m_ppImage) *m_ppImage = result.pImage.release();
    if (m_ppBuffer) *m_ppBuffer = result.pBuffer.release();
    *m_pResultSize = {result.nWidth, result.nHeight};
    return true;
}

std::uint32_t ForegroundRequest::Fail(std::uint32_t code) {
    *m_pResultSize = {0, 0};
    *m_pbDefault = 1;
    return code;
}

std::uint32_t ForegroundRequest::FailOfProducer() {
    TNG_LOG(TNG_LOG_INFO, u"Thumbnail Producer initilisation failed");
    return QXTNG_ERROR_PRODUCTION_FAILED;
}

// Everything under one hold: on a miss other processes wait for what is made here, rather than make it, too.
std::uint32_t ForegroundRequest::RunThroughCache() {
    const CTNGCacheVisit visit(u"CTNGThread::GenerateThumbnail", s_szLogSource);
    if (!visit.IsIn()) return QXTNG_ERROR_CACHE_LOCKED;
    CTNGThread::InitializeCache(m_request.path);
    TNGThumbnailData source = SourceOf(nullptr);
    if (ReadFromCache(&source)) {
        if (!LoadImageLibrary()) return Fail(QXTNG_ERROR_PRODUCTION_FAILED);
        *m_pbDefault = 0;
        if (ConvertAndDeliver(std::move(source))) return QXTNG_SUCCESS;
        TNG_LOG(TNG_LOG_INFO,
                u"GenerateThumbnail: ConvertThumbnailIntoProperType failed, Generating from original");
    }
    return GenerateForCache();
}

bool ForegroundRequest::ReadFromCache(TNGThumbnailData* pSource) {
    const int result =
        s_pDBMgr->GetThumbnailFromCache(m_request.path, pSource->pBuffer, &pSource->nLength, m_request.box,
                                        &m_eAssetType, m_request.entry, m_peOrigin);
    if (result == 0 && pSource->pBuffer && pSource->nLength > 0) return true;
    m_eAssetType = GetFileAssetType(m_request.path);
    if (IsPictureOrVideo(m_eAssetType)) return false;
    *m_peOrigin = ORIGIN_DEFAULT;
    return s_pDBMgr->GetDefaultThumbnail(m_eAssetType, m_request.path, m_request.entry, pSource->pBuffer,
                                         &pSource->nLength, true) == 0;
}

std::uint32_t ForegroundRequest::GenerateForCache() {
    CTNGThumbnailProducer producer(m_request.path, m_eAssetType);
    if (producer.m_eStatus != TNG_PRODUCER_OK) return FailOfProducer();
    producer.m_eSourceMode = m_request.eSourceMode;
    TNGThumbnailData made;
    if (!CTNGThread::GenerateAndAddThumbnailToCache(producer, m_request, m_eAssetType, &made, &m_bDefault,
                                                    m_peOrigin)) {
        return Fail(QXTNG_ERROR_FAILED);
    }
    *m_pbDefault = m_bDefault;
    if (ConvertAndDeliver(std::move(made))) return QXTNG_SUCCESS;
    TNG_LOG(TNG_LOG_INFO, u"GenerateThumbnail: ConvertThumbnailIntoProperType failed");
    return Fail(QXTNG_ERROR_PRODUCTION_FAILED);
}

// No lock is held while the file is decoded; the cache is fed afterwards.
std::uint32_t ForegroundRequest::RunDirectly(bool bCacheOn) {
    m_eAssetType = GetFileAssetType(m_request.path);
    const bool bFromCache = bCacheOn && IsKept() && LoadKept();
    std::optional<CTNGThumbnailProducer> producer;
    if (!bFromCache) {
        producer.emplace(m_request.path, m_eAssetType);
        if (producer->m_eStatus != TNG_PRODUCER_OK) return FailOfProducer();
        Produce(*producer);
        if (IsFoodForCache()) {
            const CTNGCacheVisit visit(u"CTNGThread::GenerateThumbnail", s_szLogSource);
            if (!visit.IsIn()) return QXTNG_ERROR_CACHE_LOCKED;
            CTNGThread::FeedCache(*producer, m_request, m_eAssetType, *m_pImage, *m_peOrigin, m_originalSize);
        }
    }
    if (m_pImage) {
        *m_pbDefault = 0;
        if (ConvertAndDeliver(SourceOf(std::move(m_pImage)))) return QXTNG_SUCCESS;
    }
    TNG_LOG(TNG_LOG_INFO, u"GenerateThumbnail: ConvertThumbnailIntoProperType failed!");
    return Fail(QXTNG_ERROR_PRODUCTION_FAILED);
}

// Files whose thumbnails serve requests beyond the small ones.
bool ForegroundRequest::IsKept() const {
    return m_eAssetType == ASSET_TYPE_VIDEO || (!m_bPng && IsLargeFile(m_request.entry));
}

bool ForegroundRequest::LoadKept() {
    return CTNGThread::CheckAndGetVideoOrLargeTHBFromCache(m_request, &m_pImage, m_peOrigin) == QXTNG_SUCCESS;
}

// Makes the image: for the request, or in the size that the cache keeps.
void ForegroundRequest::Produce(CTNGThumbnailProducer& producer) {
    if (s_pDBMgr->IsCacheEnabled()) Platform::WaitUntilStampIsPast(m_request.entry.ftLastWriteTime);
    producer.m_eSourceMode = m_request.eSourceMode;
    const bool bHaveSize = IsPictureOrVideo(m_eAssetType) && producer.GetOriginalImageSize(&m_originalSize);
    const bool bKept = m_eAssetType == ASSET_TYPE_VIDEO || IsLargeFile(m_request.entry);
    const bool bExtraLarge = bKept && bHaveSize && FitsInto(m_request.box, TNG_EXTRA_LARGE_BOX);
    const TNGSize& box = bExtraLarge ? TNG_EXTRA_LARGE_BOX : m_request.box;
    producer.m_nMaxWidth = box.nWidth;
    producer.m_nMaxHeight = box.nHeight;
    if (bHaveSize) {
        m_pImage = producer.GenerateThumbnailImage(m_originalSize, &m_bDefault, m_peOrigin);
        return;
    }
    *m_peOrigin = ORIGIN_DEFAULT;
    m_pImage = LoadDefaultThumbnail(m_eAssetType, m_request.box);
}

bool ForegroundRequest::IsFoodForCache() const {
    const bool bOrigin = *m_peOrigin == ORIGIN_DEFAULT || (*m_peOrigin == ORIGIN_DECODED && !m_bPng);
    if (!bOrigin || !m_pImage || !FitsInto(m_request.box, TNG_EXTRA_LARGE_BOX)) return false;
    if (!s_pDBMgr->IsCacheEnabled()) return false;
    if (m_bDefault == 1) return m_eAssetType != ASSET_TYPE_IMAGE;
    return m_bDefault == 0 && IsPictureOrVideo(m_eAssetType) && !IsSmallRequest(m_originalSize);
}

}  // namespace

std::uint32_t CTNGThread::GenerateThumbnail(const TNGRequest& request, Gdiplus::Image** ppImage,
                                            std::uint8_t** ppBuffer, TNGSize* pResultSize, int* peOrigin,
                                            int* pbDefault) {
    TNG_LOG(TNG_LOG_ENTER, u"GenerateThumbnail");
    *pbDefault = 1;
    const std::uint32_t code =
        ForegroundRequest(request, ppImage, ppBuffer, pResultSize, peOrigin, pbDefault).Run();
    if (code != QXTNG_ERROR_CACHE_LOCKED) TNG_LOG(TNG_LOG_LEAVE, u"GenerateThumbnail");
    return code;
}

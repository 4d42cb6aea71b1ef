// What the generation flows ask of the cache, and give to it.

#include "TNGCacheVisit.h"
#include "TNGThread.h"
#include "common/TNGFileInfo.h"
#include "common/TNGLog.h"
#include "database/TNGDBMgr.h"
#include "imaging/TNGDefaultImages.h"
#include "imaging/TNGImageLibrary.h"
#include "imaging/TNGThumbnailProducer.h"
#include "store/TNGThumbnailLocation.h"

namespace {

constexpr char16_t s_szLogSource[] = u"TNGThread";

bool IsGood(const std::unique_ptr<Gdiplus::Image>& pImage) {
    return pImage && pImage->GetLastStatus() == Gdiplus::Ok;
}

// The cache holds nothing fit for a request beyond its largest rendition, unless the source is no larger.
bool IsBeyondCache(const TNGSize& box, const CTNGFileData& record) {
    const TNGSize& largest = TNG_EXTRA_LARGE_BOX;
    return box.nWidth > largest.nWidth && box.nHeight > largest.nHeight &&
           record.m_nOriginalWidth > box.nWidth && record.m_nOriginalHeight > box.nWidth;
}

// For a video that is recorded without thumbnails.
std::unique_ptr<Gdiplus::Image> LoadDefaultOfVideo(const TNGSize& box) {
    if (IsSmallRequest(box)) {
        std::int32_t nLength = 0;
        const TNGBuffer buffer = GetDefaultImageBuffer(ASSET_TYPE_VIDEO, &nLength);
        std::unique_ptr<Gdiplus::Image> pImage =
            buffer ? LoadImageFromMemory(buffer.get(), nLength) : nullptr;
        if (IsGood(pImage)) return pImage;
    }
    std::unique_ptr<Gdiplus::Image> pImage = LoadDefaultThumbnail(ASSET_TYPE_VIDEO, box);
    return IsGood(pImage) ? std::move(pImage) : nullptr;
}

}  // namespace

void CTNGThread::InitializeCache(const std::u16string& path) {
    const bool bMayBeBehind = !s_bCacheLockedByClient || s_bCacheNeedsSync;
    if (bMayBeBehind && s_pDBMgr->State() != TNG_DB_NOT_LOADED) {
        TNG_LOG(TNG_LOG_INFO, u"CTNGThread::InitializeCache:going to synchronize cache");
        s_pDBMgr->SynchronizeCache();
    } else {
        TNG_LOG(TNG_LOG_INFO, u"CTNGThread::InitializeCache:Cache is in sync or database uninitialized");
    }
    if (s_pDBMgr->CheckAndLoadDataBase(path.c_str(), true) != QXTNG_SUCCESS)
        TNG_LOG(TNG_LOG_INFO, u"CTNGThread::InitializeCache:CheckAndLoadDatabase failed");
}

std::uint32_t CTNGThread::CheckAndGetVideoOrLargeTHBFromCache(const TNGRequest& request,
                                                              std::unique_ptr<Gdiplus::Image>* ppImage,
                                                              int* peOrigin,
                                                              const std::atomic<bool>* pbStop) {
    const CTNGCacheVisit visit(u"CTNGThread::CheckAndGetVideoOrLargeTHBFromCache", s_szLogSource, pbStop);
    if (!visit.IsIn()) return QXTNG_ERROR_CACHE_LOCKED;
    InitializeCache(request.path);
    CTNGFileData record;
    if (!s_pDBMgr->IsFileCached(request.path, &record)) return QXTNG_ERROR_FAILED;
    if (!LoadImageLibrary()) return QXTNG_ERROR_PRODUCTION_FAILED;
    if (IsBeyondCache(request.box, record)) return QXTNG_ERROR_FAILED;

    TNGBuffer buffer;
    std::int32_t nLength = 0;
    if (s_pDBMgr->GetThumbnailFromCache(request.path, buffer, &nLength, request.box, &record.m_eFileType,
                                        request.entry, peOrigin) == 0) {
        if (buffer && nLength > 0) *ppImage = LoadImageFromMemory(buffer.get(), nLength);
    } else if (s_pDBMgr->IsFileCached(request.path, &record) && HasNoThumbnail(record)) {
        *ppImage = LoadDefaultOfVideo(request.box);
        if (*ppImage) *peOrigin = ORIGIN_DEFAULT;
    }
    return *ppImage ? QXTNG_SUCCESS : QXTNG_ERROR_FAILED;
}

void CTNGThread::FeedCache(CTNGThumbnailProducer& producer, const TNGRequest& request,
                           std::uint32_t eAssetType, Gdiplus::Image& image, int eOrigin,
                           const TNGSize& originalSize) {
    InitializeCache(request.path);
    if (s_pDBMgr->IsRecordUpToDate(request.path, request.entry) || !IsUnchanged(request)) return;
    s_pDBMgr->AddThumbnailFromImage(producer, request.path, image, eAssetType, request.entry, eOrigin,
                                    &originalSize);
}

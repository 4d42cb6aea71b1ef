#include "TNGGeneration.h"

#include <utility>

#include "TNGCacheVisit.h"
#include "TNGThread.h"
#include "common/TNGLog.h"
#include "common/TNGPngName.h"
#include "common/TNGThreshold.h"
#include "database/TNGDBMgr.h"
#include "imaging/TNGImageLibrary.h"

namespace {

constexpr char16_t s_szLogSource[] = u"TNGThread";

void LogIfAny(TNGLogLevel eLevel, const char16_t* pszText) {
    if (pszText) TNG_LOG(eLevel, pszText);
}

bool IsPictureOrVideo(std::uint32_t eAssetType) {
    return eAssetType == ASSET_TYPE_IMAGE || eAssetType == ASSET_TYPE_VIDEO;
}

}  // namespace

TNGGeneration::TNGGeneration(const TNGRequest& request, const TNGGenerationTexts& texts,
                             std::optional<CTNGThumbnailProducer>& producer, const std::atomic<bool>* pbStop)
    : m_request(request),
      m_texts(texts),
      m_producer(producer),
      m_pbStop(pbStop),
      m_bPng(HasPngExtension(request.path)) {}

TNGGeneration::End TNGGeneration::Run() {
    const bool bCacheOn = s_pDBMgr->IsCacheEnabled();
    return bCacheOn && !m_bPng && IsSmallRequest(m_request.box) ? RunThroughCache() : RunDirectly(bCacheOn);
}

TNGThumbnailData TNGGeneration::SourceOf(std::unique_ptr<Gdiplus::Image> pImage) const {
    TNGThumbnailData source;
    source.pImage = std::move(pImage);
    source.nWidth = m_request.box.nWidth;
    source.nHeight = m_request.box.nHeight;
    return source;
}

bool TNGGeneration::Convert(TNGThumbnailData source) {
    LogIfAny(TNG_LOG_ENTER, m_texts.pszConversion);
    m_result = TNGThumbnailData();
    if (ConvertThumbnailIntoProperType(std::move(source), m_request.eOutputForm, m_eAssetType, &m_result,
                                       m_request.path, m_eOrigin)) {
        m_bDefault = m_eOrigin == ORIGIN_DEFAULT ? 1 : 0;
        return true;
    }
    LogIfAny(TNG_LOG_LEAVE, m_texts.pszConversion);
    return false;
}

TNGGeneration::End TNGGeneration::Fail(End end, const char16_t* pszText) {
    LogIfAny(TNG_LOG_INFO, pszText);
    m_result = TNGThumbnailData();
    m_bDefault = 1;
    return end;
}

bool TNGGeneration::PrepareProducer() {
    if (m_producer) {
        m_producer->Reinitialize(m_request.path, m_eAssetType);
    } else {
        m_producer.emplace(m_request.path, m_eAssetType);
    }
    m_producer->m_eSourceMode = m_request.eSourceMode;
    return m_producer->m_eStatus == TNG_PRODUCER_OK;
}

// Everything under one hold: on a miss other processes wait for what is made here, rather than make it, too.
TNGGeneration::End TNGGeneration::RunThroughCache() {
    const CTNGCacheVisit visit(m_texts.pszEntry, s_szLogSource, m_pbStop);
    if (!visit.IsIn()) return End::CacheLocked;
    if (IsStopped()) return End::Stopped;
    CTNGThread::InitializeCache(m_request.path);
    TNGThumbnailData source = SourceOf(nullptr);
    const bool bRead = ReadFromCache(&source);
    if (IsStopped()) return End::Stopped;
    if (bRead) {
        if (!IsImageLibraryBound() && !LoadImageLibrary()) return Fail(End::NoLibrary, m_texts.pszNoLibrary);
        if (Convert(std::move(source))) return End::Made;
        LogIfAny(TNG_LOG_INFO, m_texts.pszCachedNotConverted);
        if (IsStopped()) return End::Stopped;
    }
    return GenerateForCache();
}

bool TNGGeneration::ReadFromCache(TNGThumbnailData* pSource) {
    const int result =
        s_pDBMgr->GetThumbnailFromCache(m_request.path, pSource->pBuffer, &pSource->nLength, m_request.box,
                                        &m_eAssetType, m_request.entry, &m_eOrigin);
    if (result == 0 && pSource->pBuffer && pSource->nLength > 0) return true;
    if (IsStopped()) return false;
    m_eAssetType = GetFileAssetType(m_request.path);
    if (IsPictureOrVideo(m_eAssetType)) return false;
    m_eOrigin = ORIGIN_DEFAULT;
    return s_pDBMgr->GetDefaultThumbnail(m_eAssetType, m_request.path, m_request.entry, pSource->pBuffer,
                                         &pSource->nLength, true) == 0;
}

TNGGeneration::End TNGGeneration::GenerateForCache() {
    if (!PrepareProducer()) return Fail(End::NoLibrary, m_texts.pszNoProducer);
    TNGThumbnailData made;
    if (!CTNGThread::GenerateAndAddThumbnailToCache(*m_producer, m_request, m_eAssetType, &made, &m_bDefault,
                                                    &m_eOrigin)) {
        return Fail(End::NotMade, nullptr);
    }
    if (Convert(std::move(made))) return End::Made;
    return Fail(End::NotConverted, m_texts.pszStoredNotConverted);
}

// No lock is held while the file is decoded; the cache is fed afterwards.
TNGGeneration::End TNGGeneration::RunDirectly(bool bCacheOn) {
    m_eAssetType = GetFileAssetType(m_request.path);
    const bool bFromCache = bCacheOn && IsKept() &&
                            CTNGThread::CheckAndGetVideoOrLargeTHBFromCache(m_request, &m_pImage, &m_eOrigin,
                                                                            m_pbStop) == QXTNG_SUCCESS;
    if (IsStopped()) return End::Stopped;
    if (!bFromCache) {
        if (const End end = MakeAndFeed(); end != End::Made) return end;
    }
    if (m_pImage && Convert(SourceOf(std::move(m_pImage)))) return End::Made;
    return Fail(End::NotConverted, m_texts.pszDirectNotConverted);
}

TNGGeneration::End TNGGeneration::MakeAndFeed() {
    if (IsStopped()) return End::Stopped;
    if (!PrepareProducer()) return Fail(End::NoLibrary, m_texts.pszNoProducer);
    Produce();
    return IsFoodForCache() ? Feed() : End::Made;
}

// Files whose thumbnails serve requests beyond the small ones.
bool TNGGeneration::IsKept() const {
    return m_eAssetType == ASSET_TYPE_VIDEO || (!m_bPng && IsLargeFile(m_request.entry));
}

// Makes the image: for the request, or in the size that the cache keeps.
void TNGGeneration::Produce() {
    if (s_pDBMgr->IsCacheEnabled()) Platform::WaitUntilStampIsPast(m_request.entry.ftLastWriteTime);
    const bool bHaveSize =
        IsPictureOrVideo(m_eAssetType) && m_producer->GetOriginalImageSize(&m_originalSize);
    const bool bKept = m_eAssetType == ASSET_TYPE_VIDEO || IsLargeFile(m_request.entry);
    const bool bExtraLarge = bKept && bHaveSize && FitsInto(m_request.box, TNG_EXTRA_LARGE_BOX);
    const TNGSize& box = bExtraLarge ? TNG_EXTRA_LARGE_BOX : m_request.box;
    m_producer->m_nMaxWidth = box.nWidth;
    m_producer->m_nMaxHeight = box.nHeight;
    if (bHaveSize) {
        m_pImage = m_producer->GenerateThumbnailImage(m_originalSize, &m_bDefault, &m_eOrigin);
        return;
    }
    m_bDefault = 1;
    m_eOrigin = ORIGIN_DEFAULT;
    m_pImage = LoadDefaultThumbnail(m_eAssetType, m_request.box);
}

bool TNGGeneration::IsFoodForCache() const {
    const bool bOrigin = m_eOrigin == ORIGIN_DEFAULT || (m_eOrigin == ORIGIN_DECODED && !m_bPng);
    if (!bOrigin || !m_pImage || !FitsInto(m_request.box, TNG_EXTRA_LARGE_BOX)) return false;
    if (IsStopped() || !s_pDBMgr->IsCacheEnabled()) return false;
    if (m_bDefault == 1) return m_eAssetType != ASSET_TYPE_IMAGE;
    return m_bDefault == 0 && !IsTooSmallToKeep() && IsPictureOrVideo(m_eAssetType) &&
           !IsSmallRequest(m_originalSize);
}

// A flat box yields less than what the cache keeps.
bool TNGGeneration::IsTooSmallToKeep() const {
    return m_pImage->GetWidth() < TNG_LARGE_BOX.nWidth && m_pImage->GetHeight() < TNG_LARGE_BOX.nHeight;
}

TNGGeneration::End TNGGeneration::Feed() {
    const CTNGCacheVisit visit(m_texts.pszEntry, s_szLogSource, m_pbStop);
    if (!visit.IsIn()) return End::CacheLocked;
    if (IsStopped()) return End::Stopped;
    std::unique_ptr<Gdiplus::Image> pDefault;
    if (m_bDefault == 1 && IsTooSmallToKeep()) pDefault = LoadDefaultThumbnail(m_eAssetType, TNG_LARGE_BOX);
    CTNGThread::FeedCache(*m_producer, m_request, m_eAssetType, pDefault ? *pDefault : *m_pImage, m_eOrigin,
                          m_originalSize);
    return End::Made;
}

#include "TNGMgr.h"

#include <algorithm>
#include <atomic>
#include <mutex>
#include <string>

#include "common/TNGFileInfo.h"
#include "common/TNGLog.h"
#include "common/TNGThreshold.h"
#include "imaging/TNGImageLibrary.h"
#include "imaging/TNGThumbnailProducer.h"
#include "locks/TNGCacheEntry.h"
#include "platform/Memory.h"

namespace {

constexpr char16_t s_szLogSource[] = u"TNGMgr";

constexpr unsigned kMegabyteShift = 20;

std::mutex s_instanceGuard;  // held while the object is made or destroyed
std::atomic<CTNGMgr*> s_pInstance{nullptr};

bool Exists(const char16_t* pszPath) {
    return pszPath && Platform::PathFileExistsW(pszPath);
}

}  // namespace

CTNGMgr::CTNGMgr() : m_pDBMgr(std::make_unique<CTNGDBMgr>()) {
    s_pDBMgr = m_pDBMgr.get();
}

CTNGMgr::~CTNGMgr() {
    s_pDBMgr = nullptr;
}

CTNGMgr& CTNGMgr::GetInstance() {
    if (CTNGMgr* pInstance = s_pInstance.load(std::memory_order_acquire)) return *pInstance;
    const std::scoped_lock lock(s_instanceGuard);
    if (!s_pInstance.load(std::memory_order_relaxed))
        s_pInstance.store(new CTNGMgr, std::memory_order_release);
    return *s_pInstance.load(std::memory_order_relaxed);
}

CTNGMgr* CTNGMgr::FindInstance() {
    return s_pInstance.load(std::memory_order_acquire);
}

void CTNGMgr::Destroy() {
    const std::scoped_lock lock(s_instanceGuard);
    delete s_pInstance.exchange(nullptr);
}

std::uint32_t CTNGMgr::GenerateThumbnailInForeGround(const char16_t* pszFilePath, const TNGSize& size,
                                                     int eSourceMode, Gdiplus::Image** ppImage,
                                                     std::uint8_t** ppBuffer, TNGSize* pSizeOut,
                                                     std::uint32_t eOutputForm, int* peOrigin,
                                                     int* pbDefault) {
    if (size.nWidth == 0 || size.nHeight == 0) return QXTNG_ERROR_INVALID_ARGUMENT;
    TNGRequest request{pszFilePath, size, static_cast<std::uint32_t>(eSourceMode), eOutputForm, {}};
    if (!CTNGFileInfo::FindFileData(pszFilePath, &request.entry, false)) return QXTNG_ERROR_INVALID_ARGUMENT;
    return CTNGThread::GenerateThumbnail(request, ppImage, ppBuffer, pSizeOut, peOrigin, pbDefault);
}

std::uint32_t CTNGMgr::GetCacheEnabled(int* pbEnabled) {
    if (!pbEnabled) return QXTNG_ERROR_INVALID_ARGUMENT;
    *pbEnabled = m_pDBMgr->IsCacheEnabled() ? 1 : 0;
    return QXTNG_SUCCESS;
}

std::uint32_t CTNGMgr::SetCacheEnabled(bool bEnabled) {
    return m_pDBMgr->SetCacheEnabled(bEnabled);
}

std::uint32_t CTNGMgr::GetCacheFolder(char16_t** ppszFolder) {
    constexpr std::size_t kLeastUnits = 260;
    const std::u16string folder = s_strCacheFolder.Get();
    const std::size_t units = std::max(kLeastUnits, folder.size() + 1);
    void* pBlock =
        Platform::HeapAlloc(GetProcessHeap(), Platform::HEAP_ZERO_MEMORY, units * sizeof(char16_t));
    if (!pBlock) return QXTNG_ERROR_FAILED;
    auto* pszFolder = static_cast<char16_t*>(pBlock);
    std::ranges::copy(folder, pszFolder);
    *ppszFolder = pszFolder;
    return QXTNG_SUCCESS;
}

std::uint32_t CTNGMgr::SetCacheFolder(const char16_t* pszFolder) {
    if (!Exists(pszFolder)) return QXTNG_ERROR_INVALID_ARGUMENT;
    const std::shared_ptr<CTNGCacheMutex> pMutex = s_pCacheMutex.Get();
    const bool bUsable = pMutex && pMutex->IsUsable();
    if (bUsable && s_strCacheFolder.Get() == pszFolder) return QXTNG_SUCCESS;
    return m_pDBMgr->SetCacheFolder(pszFolder);
}

std::uint32_t CTNGMgr::SetThresholdFileSize(unsigned nMegabytes) {
    if (nMegabytes == 0) return QXTNG_ERROR_INVALID_ARGUMENT;
    s_dwThresholdFileSize.store(nMegabytes << kMegabyteShift, std::memory_order_relaxed);
    return QXTNG_SUCCESS;
}

std::uint32_t CTNGMgr::GetThresholdFileSize(unsigned* pnMegabytes) {
    if (!pnMegabytes) return QXTNG_ERROR_INVALID_ARGUMENT;
    *pnMegabytes = s_dwThresholdFileSize.load(std::memory_order_relaxed) >> kMegabyteShift;
    return QXTNG_SUCCESS;
}

std::uint32_t CTNGMgr::InitDB() {
    const CTNGCacheEntry entry(u"CTNGMgr::InitDB", s_szLogSource);
    return entry.IsIn() ? m_pDBMgr->InitDB(nullptr, true) : QXTNG_ERROR_CACHE_LOCKED;
}

std::uint32_t CTNGMgr::InitDBFolder(const char16_t* pszFolder, bool bPathIsFile) {
    if (!pszFolder) {
        TNG_LOG(TNG_LOG_INFO, u"Invalid File Path");
        return QXTNG_ERROR_INVALID_ARGUMENT;
    }
    if (!Exists(pszFolder)) {
        TNG_LOG(TNG_LOG_INFO, u"Bad File Path");
        return QXTNG_ERROR_INVALID_ARGUMENT;
    }
    if (!m_pDBMgr->IsCacheEnabled()) return QXTNG_ERROR_CACHE_DISABLED;
    const CTNGCacheEntry entry(u"CTNGMgr::InitDBFolder", s_szLogSource);
    if (!entry.IsIn()) return QXTNG_ERROR_CACHE_LOCKED;
    m_pDBMgr->SynchronizeIfLoaded();
    return m_pDBMgr->InitDB(pszFolder, bPathIsFile);
}

std::uint32_t CTNGMgr::RefreshDBInSysFileCache() {
    return m_pDBMgr->RefreshDBInSysFileCache();
}

std::uint32_t CTNGMgr::LockCache() {
    return m_pDBMgr->LockCache();
}

std::uint32_t CTNGMgr::ReleaseCacheLock() {
    return m_pDBMgr->ReleaseCacheLock();
}

std::uint32_t CTNGMgr::ShutDown() {
    StopThreads();
    return m_pDBMgr->Shutdown();
}

std::uint32_t CTNGMgr::IsFileCached(const char16_t* pszFilePath, int* pbCached) {
    if (pbCached) *pbCached = 0;
    if (!pszFilePath || !pbCached) {
        TNG_LOG(TNG_LOG_INFO, u"Invalid File Path");
        return QXTNG_ERROR_INVALID_ARGUMENT;
    }
    if (!m_pDBMgr->IsCacheEnabled()) {
        TNG_LOG(TNG_LOG_INFO, u"Cache is not enabled");
        return QXTNG_ERROR_CACHE_DISABLED;
    }
    *pbCached = m_pDBMgr->IsFileCached(pszFilePath) ? 1 : 0;
    return QXTNG_SUCCESS;
}

std::uint32_t CTNGMgr::IsCachedThumbnailUpToDate(const char16_t* pszFilePath, int* pbUpToDate) {
    if (pbUpToDate) *pbUpToDate = 0;
    if (!Exists(pszFilePath) || !pbUpToDate) return QXTNG_ERROR_INVALID_ARGUMENT;
    return m_pDBMgr->IsCachedThumbnailUpToDate(pszFilePath, pbUpToDate);
}

std::uint32_t CTNGMgr::DeleteThumbnail(const char16_t* pszFilePath) {
    return pszFilePath ? m_pDBMgr->DeleteThumbnail(pszFilePath) : QXTNG_ERROR_INVALID_ARGUMENT;
}

std::uint32_t CTNGMgr::DeleteFolder(const char16_t* pszFolder) {
    return pszFolder ? m_pDBMgr->DeleteFolder(pszFolder) : QXTNG_ERROR_INVALID_ARGUMENT;
}

std::uint32_t CTNGMgr::GetSizeOriginal(const char16_t* pszFilePath, TNGSize* pSize) {
    if (!pSize) return QXTNG_ERROR_INVALID_ARGUMENT;
    *pSize = {0, 0};
    if (!Exists(pszFilePath)) return QXTNG_ERROR_INVALID_ARGUMENT;

    bool bBadEntry = false;
    if (m_pDBMgr->GetSizeOriginal(pszFilePath, pSize, &bBadEntry) && pSize->nWidth != 0 &&
        pSize->nHeight != 0) {
        TNG_LOG(TNG_LOG_INFO, u"Original Size is returned from cache");
        return QXTNG_SUCCESS;
    }
    *pSize = {0, 0};
    if (bBadEntry) return QXTNG_ERROR_FAILED;
    TNG_LOG(TNG_LOG_INFO, u"Entry is not found in database, taking original size from the image");
    const std::uint32_t eAssetType = GetFileAssetType(pszFilePath);
    if (eAssetType != ASSET_TYPE_IMAGE && eAssetType != ASSET_TYPE_VIDEO) {
        TNG_LOG(TNG_LOG_INFO, u"File Type is either Audio or unsupported.");
        return QXTNG_ERROR_UNSUPPORTED_FILE;
    }
    CTNGThumbnailProducer producer(pszFilePath, eAssetType);
    if (producer.GetOriginalImageSize(pSize)) return QXTNG_SUCCESS;
    if (producer.m_eStatus == TNG_PRODUCER_LIBRARY_MISSING ||
        producer.m_eStatus == TNG_PRODUCER_LIBRARY_CALL_FAILED) {
        TNG_LOG(TNG_LOG_INFO, u"IML initialization get failed");
        return QXTNG_ERROR_PRODUCTION_FAILED;
    }
    TNG_LOG(TNG_LOG_INFO, u"Unknown error on Producer");
    return QXTNG_ERROR_FAILED;
}

std::uint32_t CTNGMgr::UpdateFileInfo(const char16_t* pszFilePath) {
    return Exists(pszFilePath) ? m_pDBMgr->UpdateFileInfo(pszFilePath) : QXTNG_ERROR_INVALID_ARGUMENT;
}

std::uint32_t CTNGMgr::UpdateThumbnail(const char16_t* pszFilePath) {
    return Exists(pszFilePath) ? m_pDBMgr->UpdateThumbnail(pszFilePath) : QXTNG_ERROR_INVALID_ARGUMENT;
}

std::uint32_t CTNGMgr::UpdateFolder(const char16_t* pszFolder) {
    return Exists(pszFolder) ? m_pDBMgr->UpdateFolder(pszFolder) : QXTNG_ERROR_INVALID_ARGUMENT;
}

std::uint32_t CTNGMgr::UpdateAllOfCache() {
    return m_pDBMgr->UpdateAllOfCache();
}

// Looking entries up, and reading thumbnails.

#include <memory>

#include "TNGDBMgr.h"
#include "common/TNGFileInfo.h"
#include "common/TNGLog.h"
#include "common/TNGThreshold.h"
#include "locks/TNGCacheEntry.h"
#include "locks/TNGLockHold.h"
#include "platform/Memory.h"
#include "store/TNGCachePaths.h"
#include "store/TNGDataFile.h"
#include "store/TNGKeptFile.h"
#include "store/TNGThumbnailLocation.h"

namespace {

constexpr char16_t s_szLogSource[] = u"TNGDBMgr";

constexpr int kRead = 0;
constexpr int kNotRead = 1;

bool IsPictureOrVideo(const CTNGFileData& record) {
    return record.m_eFileType == ASSET_TYPE_IMAGE || record.m_eFileType == ASSET_TYPE_VIDEO;
}

bool IsBig(const TNGSize& requested) {
    return requested.nWidth > TNG_LARGE_BOX.nWidth || requested.nHeight > TNG_LARGE_BOX.nHeight;
}

// A record of a file that ought to have an extra-large thumbnail and does not.
bool LacksExtraLarge(const CTNGFileData& record, const Platform::WIN32_FIND_DATAW& fileInfo) {
    const bool bOughtTo = record.m_eFileType == ASSET_TYPE_VIDEO || IsLargeFile(fileInfo);
    return bOughtTo && !HasExtraLarge(record) && IsBig({record.m_nOriginalWidth, record.m_nOriginalHeight});
}

}  // namespace

bool CTNGDBMgr::IsFileCached(const std::u16string& path, CTNGFileData* pRecord) {
    const CTNGAutoMutexPtr shared(m_pSharedData->GetSharedMutex(), false, TNG_LOCK_TIMEOUT_MS, true);
    if (!shared.IsLocked()) return false;
    const CTNGFileData* const pFound = m_pSharedData->FindItem(path);
    if (!pFound) return false;
    if (pRecord) *pRecord = *pFound;
    return IsPictureOrVideo(*pFound) && pFound->m_bDeleted == 0;
}

bool CTNGDBMgr::IsRecordUpToDate(const std::u16string& path, const Platform::WIN32_FIND_DATAW& fileInfo,
                                 CTNGFileData* pRecord) {
    const CTNGAutoMutexPtr shared(m_pSharedData->GetSharedMutex(), false, TNG_LOCK_TIMEOUT_MS, true);
    if (!shared.IsLocked()) return false;
    const CTNGFileData* const pFound = m_pSharedData->FindItem(path);
    if (!pFound || pFound->m_bDeleted != 0) return false;
    if (pRecord) *pRecord = *pFound;
    return IsSameFile(*pFound, fileInfo);
}

std::uint32_t CTNGDBMgr::IsCachedThumbnailUpToDate(const std::u16string& path, int* pbUpToDate) {
    if (!IsCacheEnabled()) return QXTNG_ERROR_CACHE_DISABLED;
    const CTNGCacheEntry entry(u"CTNGDBMgr::IsCachedThumbnailUpToDate", s_szLogSource);
    if (!entry.IsIn()) return QXTNG_ERROR_CACHE_LOCKED;
    SynchronizeIfLoaded();
    if (const std::uint32_t result = CheckAndLoadDataBase(path.c_str(), true); result != QXTNG_SUCCESS)
        return result;
    CTNGFileData record;
    {
        const CTNGAutoMutexPtr shared(m_pSharedData->GetSharedMutex(), false, TNG_LOCK_TIMEOUT_MS, true);
        if (!shared.IsLocked()) return QXTNG_ERROR_LOCK_FAILED;
        const CTNGFileData* const pFound = m_pSharedData->FindItem(path);
        if (!pFound || pFound->m_bDeleted != 0 || !IsPictureOrVideo(*pFound)) return QXTNG_ERROR_NOT_CACHED;
        record = *pFound;
    }
    Platform::WIN32_FIND_DATAW fileInfo;
    if (!CTNGFileInfo::FindFileData(path.c_str(), &fileInfo, false)) return QXTNG_ERROR_FAILED;
    *pbUpToDate = IsSameFile(record, fileInfo) ? 1 : 0;
    return QXTNG_SUCCESS;
}

bool CTNGDBMgr::GetSizeOriginal(const std::u16string& path, TNGSize* pSize, bool* pbBadEntry) {
    *pSize = {0, 0};
    *pbBadEntry = false;
    if (!IsCacheEnabled()) return false;
    TNG_LOG(TNG_LOG_INFO, u"CTNGDBMgr::GetSizeOriginal:Taking lock on Shared Mutex");
    const CTNGAutoMutexPtr shared(m_pSharedData->GetSharedMutex(), false, TNG_LOCK_TIMEOUT_MS, true);
    if (!shared.IsLocked()) return false;
    TNG_LOG(TNG_LOG_INFO, u"CTNGDBMgr::GetSizeOriginal:lock on Shared Mutex succeeded");
    const CTNGFileData* const pFound = m_pSharedData->FindItem(path);
    if (!pFound || !IsPictureOrVideo(*pFound)) return false;
    if (HasNoThumbnail(*pFound)) {
        *pbBadEntry = true;
        return false;
    }
    *pSize = {pFound->m_nOriginalWidth, pFound->m_nOriginalHeight};
    TNG_LOG(TNG_LOG_INFO, u"CTNGDBMgr::GetSizeOriginal:Got FileData");
    return true;
}

bool CTNGDBMgr::FindLiveRecord(const std::u16string& path, TNGFoundRecord* pFound) {
    const CTNGAutoMutexPtr shared(m_pSharedData->GetSharedMutex(), false, TNG_LOCK_TIMEOUT_MS, true);
    const CTNGFileData* const pLive = shared.IsLocked() ? m_pSharedData->FindItem(path) : nullptr;
    if (!pLive || pLive->m_bDeleted != 0) return false;
    pFound->Take(*pLive);
    return true;
}

int CTNGDBMgr::GetThumbnailFromCache(const std::u16string& path, TNGBuffer& pBuffer, std::int32_t* pSize,
                                     const TNGSize& requested, std::uint32_t* peFileType,
                                     const Platform::WIN32_FIND_DATAW& fileInfo, int* peOrigin) {
    pBuffer.reset();
    try {
        TNGFoundRecord found;
        if (!FindLiveRecord(path, &found)) return kNotRead;
        const CTNGFileData& record = found.record;
        const bool bPicture = IsPictureOrVideo(record);
        if (bPicture && !IsSameFile(record, fileInfo)) {
            DropEntry(path);
            *peFileType = record.m_eFileType;
            return kNotRead;
        }
        if (!bPicture || HasNoThumbnail(record)) {
            *peFileType = record.m_eFileType;
            if (IsBig(requested)) return kNotRead;
            const int result = GetDefaultThumbnail(record.m_eFileType, path, fileInfo, pBuffer, pSize, false);
            if (result == kRead) *peOrigin = ORIGIN_DEFAULT;
            return result;
        }
        if (IsBig(requested) && LacksExtraLarge(record, fileInfo)) {
            if (!DropEntry(path))
                TNG_LOG(TNG_LOG_ERROR, (u"Marking for deletion failed for " + path).c_str());
            return kNotRead;
        }
        return ReadThumbnail(path, found, requested, pBuffer, pSize, peFileType, peOrigin);
    } catch (...) {
        pBuffer.reset();
        return kNotRead;
    }
}

// Takes out an entry that is of no use any more.
bool CTNGDBMgr::DropEntry(const std::u16string& path) {
    if (m_pSharedData->DeleteFileData(path, true) != QXTNG_SUCCESS) return false;
    SetCacheModifiedTime();
    s_bCacheDirty = true;
    return true;
}

int CTNGDBMgr::ReadThumbnail(const std::u16string& path, const TNGFoundRecord& found,
                             const TNGSize& requested, TNGBuffer& pBuffer, std::int32_t* pSize,
                             std::uint32_t* peFileType, int* peOrigin) {
    std::int32_t offset = -1;
    std::int32_t trailerOffset = -1;
    GetThumbnailLocation(found.record, requested, &offset, pSize, &trailerOffset);
    if (offset == -1 || *pSize <= 0) return kNotRead;
    pBuffer = MakePageBuffer(static_cast<std::uint8_t*>(
        Platform::VirtualAlloc(nullptr, static_cast<std::size_t>(*pSize),
                               Platform::MEM_COMMIT | Platform::MEM_RESERVE, Platform::PAGE_READWRITE)));
    if (!pBuffer) return kNotRead;
    *peFileType = found.record.m_eFileType;
    CTNGDataFile file(&s_keptDataFile);
    TNGBlockTrailer trailer;
    const int result = file.ReadBlockChecked(CachePath(found.record.m_strDataFileName), found.nDataFileKey,
                                             offset, *pSize, trailerOffset, &trailer, pBuffer.get());
    if (result == 0 && found.generation.IsCurrent()) {
        *peOrigin = found.record.m_bEmbedded != 0 ? ORIGIN_EMBEDDED : ORIGIN_CACHED;
        return kRead;
    }
    pBuffer.reset();
    // Locations of a data file that has been replaced meanwhile say nothing about the present one.
    if (result != 0 && found.generation.IsCurrent()) NoteDamage(path, file.Status());
    return kNotRead;
}

void CTNGDBMgr::NoteDamage(const std::u16string& path, TNGDataFileStatus eStatus) {
    if (eStatus != DATA_FILE_READ_ERROR && eStatus != DATA_FILE_BAD_TRAILER) return;
    TNG_LOG(TNG_LOG_INFO, (u"Error on reading Thumbnail from cache for:" + path).c_str());
    const TNGLockHold folderMaps(m_pSharedData->GetFolderMapMutex(), true);
    if (folderMaps.IsHeld() && !m_pSharedData->MarkStaleBlock(path))
        TNG_LOG(TNG_LOG_ERROR, (u"Marking for deletion failed." + path).c_str());
}

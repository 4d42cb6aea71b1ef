// Keeping the cache in order: dropping entries, bringing them up to date.

#include <memory>
#include <vector>

#include "TNGDBMgr.h"
#include "TNGThumbnailRefresh.h"
#include "common/TNGFileInfo.h"
#include "common/TNGLog.h"
#include "locks/TNGCacheEntry.h"
#include "shared/TNGFoundRecord.h"
#include "store/TNGCachePaths.h"
#include "store/TNGThumbnailLocation.h"

namespace {

constexpr char16_t s_szLogSource[] = u"TNGDBMgr";

bool IsPictureOrVideo(const CTNGFileData& record) {
    return record.m_eFileType == ASSET_TYPE_IMAGE || record.m_eFileType == ASSET_TYPE_VIDEO;
}

std::u16string FolderOf(std::u16string path) {
    CutToFolder(path);
    return path;
}

}  // namespace

std::uint32_t CTNGDBMgr::RefreshDBInSysFileCache() {
    if (!IsCacheEnabled()) return QXTNG_ERROR_CACHE_DISABLED;
    const CTNGCacheEntry entry(u"CTNGDBMgr::RefreshDBInSysFileCache", s_szLogSource);
    if (!entry.IsIn()) return QXTNG_ERROR_CACHE_LOCKED;
    SynchronizeIfLoaded();
    if (const std::uint32_t result = LoadIndex(); result != QXTNG_SUCCESS) return result;
    return m_pSharedData->RefreshDBInSysFileCache();
}

std::uint32_t CTNGDBMgr::DeleteThumbnail(const std::u16string& path) {
    if (!IsCacheEnabled()) return QXTNG_ERROR_CACHE_DISABLED;
    const CTNGCacheEntry entry(u"CTNGDBMgr::DeleteThumbnail", s_szLogSource);
    if (!entry.IsIn()) return QXTNG_ERROR_CACHE_LOCKED;
    SynchronizeIfLoaded();
    TNG_LOG(TNG_LOG_ENTER, u"DeleteThumbnail");
    std::uint32_t result = QXTNG_SUCCESS;
    if (m_eDBState == TNG_DB_NOT_LOADED) {
        result = InitDB(path.c_str(), true);
    } else if (m_eDBState == TNG_DB_PARTIAL) {
        result = m_pSharedData->LoadFolderData(path.c_str(), true);
    }
    if (result == QXTNG_SUCCESS) {
        result = m_pSharedData->DeleteFileData(path, true);
        s_bCacheDirty = true;
        if (result == QXTNG_SUCCESS) SetCacheModifiedTime();
    }
    TNG_LOG(TNG_LOG_LEAVE, u"DeleteThumbnail");
    return result;
}

std::uint32_t CTNGDBMgr::DeleteFolder(const std::u16string& folder) {
    if (!IsCacheEnabled()) return QXTNG_ERROR_CACHE_DISABLED;
    const CTNGCacheEntry entry(u"CTNGDBMgr::DeleteFolder", s_szLogSource);
    if (!entry.IsIn()) return QXTNG_ERROR_CACHE_LOCKED;
    SynchronizeIfLoaded();
    if (m_eDBState == TNG_DB_NOT_LOADED) {
        if (const std::uint32_t result = InitDB(folder.c_str(), false); result != QXTNG_SUCCESS)
            return result;
    }
    const std::uint32_t result = m_pSharedData->DeleteFolder(folder);
    if (result == QXTNG_SUCCESS) SetCacheModifiedTime();
    return result;
}

std::uint32_t CTNGDBMgr::UpdateFileInfo(const std::u16string& path) {
    if (!IsCacheEnabled()) return QXTNG_ERROR_CACHE_DISABLED;
    const CTNGCacheEntry entry(u"CTNGDBMgr::UpdateFileInfo", s_szLogSource);
    if (!entry.IsIn()) return QXTNG_ERROR_CACHE_LOCKED;
    SynchronizeIfLoaded();
    if (const std::uint32_t result = CheckAndLoadDataBase(path.c_str(), true); result != QXTNG_SUCCESS)
        return result;
    CTNGAutoMutexPtr shared(m_pSharedData->GetSharedMutex(), true, TNG_LOCK_TIMEOUT_MS, true);
    if (!shared.IsLocked()) return QXTNG_ERROR_LOCK_FAILED;
    const CTNGFileData* const pFound = m_pSharedData->FindItem(path);
    if (!pFound || !IsPictureOrVideo(*pFound)) return QXTNG_ERROR_NOT_CACHED;
    shared.Release();

    Platform::WIN32_FIND_DATAW fileInfo;
    if (!CTNGFileInfo::FindFileData(path.c_str(), &fileInfo, false)) return QXTNG_ERROR_FAILED;
    if (!shared.GetLocked(true)) return QXTNG_ERROR_FAILED;
    CTNGFileData* const pLive = m_pSharedData->FindItem(path);
    if (!pLive) return QXTNG_ERROR_NOT_CACHED;
    // These two alone: the rest of the record may have become another one meanwhile.
    pLive->m_ftLastWrite = fileInfo.ftLastWriteTime;
    pLive->m_nFileSize = fileInfo.nFileSizeLow;
    pLive->m_pFolderMap->NoteChangedRecord();
    s_bCacheDirty = true;
    shared.Release();
    const bool bSaved = m_pSharedData->SaveFolderMap(FolderOf(path), false) == 1;
    SetCacheModifiedTime();
    return bSaved ? QXTNG_SUCCESS : QXTNG_ERROR_FAILED;
}

std::uint32_t CTNGDBMgr::UpdateThumbnail(const std::u16string& path) {
    if (!IsCacheEnabled()) return QXTNG_ERROR_CACHE_DISABLED;
    const CTNGCacheEntry entry(u"CTNGDBMgr::UpdateThumbnail", s_szLogSource);
    if (!entry.IsIn()) return QXTNG_ERROR_CACHE_LOCKED;
    SynchronizeIfLoaded();
    if (const std::uint32_t result = CheckAndLoadDataBase(path.c_str(), true); result != QXTNG_SUCCESS)
        return result;
    TNGFoundRecord found;
    CTNGAutoMutexPtr shared(m_pSharedData->GetSharedMutex(), false, TNG_LOCK_TIMEOUT_MS, true);
    if (!shared.IsLocked()) return QXTNG_ERROR_LOCK_FAILED;
    const CTNGFileData* const pFound = m_pSharedData->FindItem(path);
    if (!pFound || pFound->m_bDeleted != 0 || !IsPictureOrVideo(*pFound)) return QXTNG_ERROR_NOT_CACHED;
    found.Take(*pFound);
    shared.Release();

    Platform::WIN32_FIND_DATAW fileInfo;
    if (!CTNGFileInfo::FindFileData(path.c_str(), &fileInfo, false)) return QXTNG_ERROR_FAILED;
    if (IsSameFile(found.record, fileInfo)) return QXTNG_SUCCESS;
    found.record.m_ftLastWrite = fileInfo.ftLastWriteTime;
    found.record.m_nFileSize = fileInfo.nFileSizeLow;
    CTNGThumbnailProducer producer(path, found.record.m_eFileType);
    if (const std::uint32_t result = RefreshThumbnailData(found.record, found.nDataFileKey, producer);
        result != QXTNG_SUCCESS) {
        return result;
    }
    if (!shared.GetLocked(true)) return QXTNG_ERROR_LOCK_FAILED;
    if (const std::uint32_t result = m_pSharedData->MarkFolderModified(FolderOf(path));
        result != QXTNG_SUCCESS)
        return result;
    if (!found.WriteBack(*m_pSharedData)) return QXTNG_ERROR_NOT_CACHED;
    s_bCacheDirty = true;
    return QXTNG_SUCCESS;
}

std::uint32_t CTNGDBMgr::UpdateFolder(const std::u16string& folder) {
    if (!IsCacheEnabled()) return QXTNG_ERROR_CACHE_DISABLED;
    const CTNGCacheEntry entry(u"CTNGDBMgr::UpdateFolder", s_szLogSource);
    if (!entry.IsIn()) return QXTNG_ERROR_CACHE_LOCKED;
    if (entry.HasOwnHold()) SynchronizeIfLoaded();
    return UpdateFolderEntered(folder);
}

std::uint32_t CTNGDBMgr::UpdateAllOfCache() {
    if (!IsCacheEnabled()) return QXTNG_ERROR_CACHE_DISABLED;
    const CTNGCacheEntry entry(u"CTNGDBMgr::UpdateAllOfCache", s_szLogSource);
    if (!entry.IsIn()) return QXTNG_ERROR_CACHE_LOCKED;
    SynchronizeIfLoaded();
    if (m_eDBState == TNG_DB_NOT_LOADED) CheckAndLoadDataBase(nullptr, false);
    std::vector<std::u16string> folders;
    std::uint32_t lastFailure = m_pSharedData->GetFolderList(&folders);
    if (lastFailure == QXTNG_ERROR_NOT_CACHED) lastFailure = QXTNG_SUCCESS;  // there is nothing to update
    for (const std::u16string& folder : folders) {
        if (const std::uint32_t result = UpdateFolderEntered(folder); result != QXTNG_SUCCESS)
            lastFailure = result;
    }
    return lastFailure;
}

std::uint32_t CTNGDBMgr::UpdateFolderEntered(const std::u16string& folder) {
    if (const std::uint32_t result = CheckAndLoadDataBase(folder.c_str(), false); result != QXTNG_SUCCESS)
        return result;
    std::vector<TNGFoundRecord> changed;
    // For writing: records of files that are gone leave the index.
    CTNGAutoMutexPtr shared(m_pSharedData->GetSharedMutex(), true, TNG_LOCK_TIMEOUT_MS, true);
    if (!shared.IsLocked()) return QXTNG_ERROR_LOCK_FAILED;
    bool bRemoved = false;
    const std::uint32_t result = m_pSharedData->GetModifiedFiles(folder, &changed, &bRemoved);
    if (bRemoved) s_bCacheDirty = true;
    if (result != QXTNG_SUCCESS || changed.empty()) return result;
    shared.Release();

    CTNGThumbnailProducer producer(changed.front().record.m_strFilePath, changed.front().record.m_eFileType);
    std::erase_if(changed, [&producer](TNGFoundRecord& found) {
        return RefreshThumbnailData(found.record, found.nDataFileKey, producer) != QXTNG_SUCCESS;
    });
    if (!shared.GetLocked(true)) return QXTNG_ERROR_LOCK_FAILED;
    const std::uint32_t marked = m_pSharedData->MarkFolderModified(folder);
    if (marked != QXTNG_SUCCESS) return marked;
    for (TNGFoundRecord& found : changed)
        found.WriteBack(*m_pSharedData);
    s_bCacheDirty = true;
    return QXTNG_SUCCESS;
}

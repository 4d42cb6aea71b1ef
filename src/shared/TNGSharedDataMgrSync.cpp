#include "TNGSharedDataMgr.h"
#include "common/TNGFileInfo.h"
#include "common/TNGLog.h"
#include "locks/TNGFileLockRegistry.h"
#include "locks/TNGLockHold.h"
#include "store/TNGCachePaths.h"
#include "store/TNGDateTimeFile.h"

namespace {

constexpr char16_t s_szLogSource[] = u"TNGSharedDataMgr";

// Not only a later time: that of a writer which died before it had stamped its file may be an earlier one,
// and so may any be once the clock has been set back.
bool IsOther(const Platform::FILETIME& time, const Platform::FILETIME& known) {
    return Platform::CompareFileTime(&time, &known) != 0;
}

// A folder that this process has made and not yet saved has no list: its number has been given to another
// folder by another process.
bool IsForeignList(const CTNGFolderMap& folderMap) {
    return folderMap.m_bListLoaded && !IsOther(folderMap.m_ftListFile, Platform::FILETIME{});
}

}  // namespace

std::uint32_t CTNGSharedDataMgr::SynchronizeCache(bool* pbModified) {
    *pbModified = false;
    if (IsCacheSynchronized()) {
        TNG_LOG(TNG_LOG_INFO, u"CTNGSharedDataMgr::SynchronizeCache, already synchronized ");
        return QXTNG_SUCCESS;
    }
    const CTNGAutoMutexPtr shared(GetSharedMutex(), true, TNG_LOCK_TIMEOUT_MS, true);
    if (!shared.IsLocked()) {
        TNG_LOG(TNG_LOG_INFO, u"CTNGSharedDataMgr::SynchronizeCache, shared mutex lock get failed");
        return QXTNG_ERROR_LOCK_FAILED;
    }
    if (IsCacheSynchronized()) return QXTNG_SUCCESS;  // by another thread

    const std::u16string indexPath = CachePath(m_strIndexFileName);
    Platform::WIN32_FIND_DATAW index;
    if (!CTNGFileInfo::FindFileData(indexPath.c_str(), &index, false)) {
        const Platform::FILETIME known = s_ftDirectoryMap;
        if (known.dwLowDateTime == 0 && known.dwHighDateTime == 0) {
            SetCacheModifiedTime();  // a cache that is being begun: there was no index yet
            return QXTNG_SUCCESS;
        }
        if (!m_pFolderMaps->DeleteAll(false)) return QXTNG_ERROR_LOCK_FAILED;
        ClearIndex();
        s_ftDirectoryMap = Platform::FILETIME{};
        SetCacheModifiedTime();
        TNG_LOG(TNG_LOG_INFO, u"CTNGSharedDataMgr::SynchronizeCache, cache deleted so cleaned everything");
        *pbModified = true;
        return QXTNG_SUCCESS;
    }
    SynchronizeDirectoryMap(pbModified);
    if (IsOther(index.ftLastWriteTime, s_ftDirectoryMap)) {
        *pbModified = true;
        bool bAdded = false;
        // Out of reach: the next look is at it again.
        const std::uint32_t result =
            m_pFolderMaps->CheckAndAddNewFolderMap(indexPath, &bAdded, m_pTable.get());
        if (result != QXTNG_SUCCESS) return result;
        TNG_LOG(TNG_LOG_INFO, u"CTNGSharedDataMgr::SynchronizeCache, DirectoryMap modified");
    }
    SetCacheModifiedTime();
    s_ftDirectoryMap = index.ftLastWriteTime;
    return QXTNG_SUCCESS;
}

std::uint32_t CTNGSharedDataMgr::SynchronizeDirectoryMap(bool* pbModified) {
    const TNGLockHold folderMaps(GetFolderMapMutex(), true);
    if (!folderMaps.IsHeld()) return QXTNG_ERROR_LOCK_FAILED;
    *pbModified = false;
    if (m_pFolderMaps->IsEmpty()) return QXTNG_SUCCESS;
    std::vector<CTNGFolderMap*> gone;
    std::vector<CTNGFolderMap*> displaced;
    m_pFolderMaps->ForEach([&](CTNGFolderMap& folderMap) {
        Platform::WIN32_FIND_DATAW list;
        if (!CTNGFileInfo::FindFileData(CachePath(folderMap.m_strListFileName).c_str(), &list, false) ||
            !Platform::PathFileExistsW(CachePath(folderMap.m_strDataFileName).c_str())) {
            gone.push_back(&folderMap);
        } else if (IsForeignList(folderMap)) {
            displaced.push_back(&folderMap);
        } else if (folderMap.m_bListLoaded && IsOther(list.ftLastWriteTime, folderMap.m_ftListFile) &&
                   ResetFolderMap(&folderMap) == QXTNG_SUCCESS) {
            folderMap.m_ftListFile = list.ftLastWriteTime;
            *pbModified = true;
            TNG_LOG(TNG_LOG_INFO, u"CTNGSharedDataMgr::SynchronizeDirectoryMap,");
            TNG_LOG(TNG_LOG_INFO, folderMap.m_strFolderPath.c_str());
            TNG_LOG(TNG_LOG_INFO, u", FolderMap modified ");
        }
    });
    for (CTNGFolderMap* pFolderMap : gone)
        RemoveFolderMap(pFolderMap);
    for (const CTNGFolderMap* pFolderMap : displaced) {
        RemoveFromIndex(*pFolderMap);
        const std::u16string folder = pFolderMap->m_strFolderPath;
        m_pFolderMaps->RemoveItem(folder);
    }
    *pbModified |= !gone.empty() || !displaced.empty();
    TNG_LOG(TNG_LOG_INFO, gone.empty()
                              ? u"CTNGSharedDataMgr::SynchronizeDirectoryMap, no folderMap removed"
                              : u"CTNGSharedDataMgr::SynchronizeDirectoryMap, some foldermaps removed");
    return QXTNG_SUCCESS;
}

std::uint32_t CTNGSharedDataMgr::ResetFolderMap(CTNGFolderMap* pFolderMap) {
    if (!pFolderMap) return QXTNG_ERROR_FAILED;
    RemoveFromIndex(*pFolderMap);
    if (pFolderMap->FileDataList->HasUnsavedRecords()) ++pFolderMap->m_nStaleBlocks;
    pFolderMap->FileDataList->ResetList(false);
    pFolderMap->m_bListLoaded = false;
    return QXTNG_SUCCESS;
}

std::uint32_t CTNGSharedDataMgr::RemoveFolderMap(CTNGFolderMap* pFolderMap) {
    if (!pFolderMap) return QXTNG_ERROR_FAILED;
    pFolderMap->DeleteDataFile();
    CTNGFileLockRegistry& registry = GetFileLockRegistry();
    if (registry.IsFileLocked(pFolderMap->m_nDataFileKey, false) == 0)
        registry.RemoveFileLock(pFolderMap->m_nDataFileKey, false);
    if (pFolderMap->FileDataList->GetCount() > 0) {
        RemoveFromIndex(*pFolderMap);
        pFolderMap->FileDataList->ResetList(true);
    }
    const std::u16string folder = pFolderMap->m_strFolderPath;
    m_pFolderMaps->RemoveItem(folder);
    return QXTNG_SUCCESS;
}

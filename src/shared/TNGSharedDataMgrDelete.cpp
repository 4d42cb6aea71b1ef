#include "TNGSharedDataMgr.h"
#include "locks/TNGLockHold.h"
#include "store/TNGCachePaths.h"
#include "store/TNGDateTimeFile.h"
#include "store/TNGThumbnailLocation.h"

std::uint32_t CTNGSharedDataMgr::DeleteFileData(const std::u16string& path, bool bSaveList) {
    const CTNGAutoMutexPtr shared(GetSharedMutex(), true, TNG_LOCK_TIMEOUT_MS, true);
    TNGLockHold folderMaps(GetFolderMapMutex(), true);
    if (!shared.IsLocked() || !folderMaps.IsHeld()) return QXTNG_ERROR_LOCK_FAILED;
    CTNGFileData* const pRecord = FindItem(path);
    if (!pRecord || pRecord->m_bDeleted != 0) return QXTNG_ERROR_NOT_CACHED;
    const bool bHasBlock = !HasNoThumbnail(*pRecord);
    pRecord->m_bDeleted = 1;
    RemoveFromIndex(path);

    std::u16string folder = path;
    CTNGFolderMap* const pFolderMap = CutToFolder(folder) ? m_pFolderMaps->FindItem(folder) : nullptr;
    if (!pFolderMap) return QXTNG_SUCCESS;
    if (pFolderMap->FileDataList->GetCount() == 1) {
        DeleteFolderOfLastRecord(*pFolderMap);
        return SaveIndexOfTheRest(folderMaps);
    }
    pFolderMap->NoteChangedRecord();
    pFolderMap->FileDataList->RemoveRecord(path);
    if (bHasBlock) ++pFolderMap->m_nStaleBlocks;
    return bSaveList ? RewriteList(*pFolderMap, false) : QXTNG_SUCCESS;
}

// Without the folder that has just gone. Gives the hold back, which saving takes itself.
std::uint32_t CTNGSharedDataMgr::SaveIndexOfTheRest(TNGLockHold& folderMaps) {
    folderMaps.Release();
    if (m_pFolderMaps->IsIndexUnread() && !TakeUpForeignFolders()) return QXTNG_ERROR_FILE_WRITE;
    if (!m_pFolderMaps->IsEmpty()) return m_pFolderMaps->SaveFolderMaps(m_strIndexFileName, false);
    CTNGFolderMapCollection::DeleteIndexFile(m_strIndexFileName);
    return QXTNG_SUCCESS;
}

void CTNGSharedDataMgr::DeleteFolderOfLastRecord(const CTNGFolderMap& folderMap) {
    SetCacheModifiedTime();  // first, in case that this process is killed at it
    folderMap.DeleteDataFile();
    folderMap.DeleteListFile();
    const std::u16string folder = folderMap.m_strFolderPath;
    m_pFolderMaps->RemoveItem(folder);
}

std::uint32_t CTNGSharedDataMgr::DeleteFolder(const std::u16string& folder) {
    const CTNGAutoMutexPtr shared(GetSharedMutex(), true, TNG_LOCK_TIMEOUT_MS, true);
    TNGLockHold folderMaps(GetFolderMapMutex(), true);
    if (!shared.IsLocked() || !folderMaps.IsHeld()) return QXTNG_ERROR_LOCK_FAILED;
    CTNGFolderMap* const pFolderMap = m_pFolderMaps->FindItem(folder);
    if (!pFolderMap) return QXTNG_ERROR_NOT_CACHED;
    SetCacheModifiedTime();
    if (!pFolderMap->m_bListLoaded) pFolderMap->DeleteListFile();  // nobody else would
    RemoveFolderMap(pFolderMap);
    return SaveIndexOfTheRest(folderMaps);
}

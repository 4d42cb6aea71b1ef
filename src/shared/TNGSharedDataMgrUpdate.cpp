#include "TNGSharedDataMgr.h"
#include "common/TNGFileInfo.h"
#include "locks/TNGLockHold.h"
#include "store/TNGCachePaths.h"
#include "store/TNGThumbnailLocation.h"

namespace {

bool HasPictureOfItsOwn(const CTNGFileData& record) {
    return record.m_bDeleted == 0 && record.m_nLargeSize != 0 &&
           (record.m_eFileType == ASSET_TYPE_IMAGE || record.m_eFileType == ASSET_TYPE_VIDEO);
}

}  // namespace

std::uint32_t CTNGSharedDataMgr::GetModifiedFiles(const std::u16string& folder,
                                                  std::vector<TNGFoundRecord>* pList, bool* pbRemoved) {
    const TNGLockHold folderMaps(GetFolderMapMutex(), true);
    if (!folderMaps.IsHeld()) return QXTNG_ERROR_LOCK_FAILED;
    CTNGFolderMap* const pFolderMap = m_pFolderMaps->FindItem(folder);
    if (!pFolderMap || pFolderMap->FileDataList->GetCount() == 0) return QXTNG_ERROR_NOT_CACHED;
    for (int i = 0; i < pFolderMap->FileDataList->GetCount(); ++i) {
        CTNGFileData& record = *pFolderMap->FileDataList->GetAt(i);
        if (!HasPictureOfItsOwn(record)) continue;
        Platform::WIN32_FIND_DATAW entry;
        if (!CTNGFileInfo::FindFileData(record.m_strFilePath.c_str(), &entry, false)) {
            record.m_bDeleted = 1;
            ++pFolderMap->m_nStaleBlocks;
            pFolderMap->NoteChangedRecord();
            *pbRemoved = true;
            RemoveFromIndex(record.m_strFilePath);
        } else if (!IsSameFile(record, entry)) {
            TNGFoundRecord& found = pList->emplace_back();
            found.Take(record);
            found.record.m_ftLastWrite = entry.ftLastWriteTime;
            found.record.m_nFileSize = entry.nFileSizeLow;
        }
    }
    return QXTNG_SUCCESS;
}

std::uint32_t CTNGSharedDataMgr::MarkFolderModified(const std::u16string& folder) {
    const TNGLockHold folderMaps(GetFolderMapMutex(), true);
    if (!folderMaps.IsHeld()) return QXTNG_ERROR_LOCK_FAILED;
    CTNGFolderMap* const pFolderMap = m_pFolderMaps->FindItem(folder);
    if (!pFolderMap) return QXTNG_ERROR_NOT_CACHED;
    pFolderMap->NoteChangedRecord();
    ++pFolderMap->m_nStaleBlocks;
    return QXTNG_SUCCESS;
}

int CTNGSharedDataMgr::MarkStaleBlock(const std::u16string& path) {
    std::u16string folder = path;
    CTNGFolderMap* const pFolderMap = CutToFolder(folder) ? m_pFolderMaps->FindItem(folder) : nullptr;
    if (!pFolderMap) return 0;
    ++pFolderMap->m_nStaleBlocks;
    return 1;
}

int CTNGSharedDataMgr::SaveFolderMap(const std::u16string& folder, bool bCompact) {
    // For writing: a compaction changes the locations in the records.
    const CTNGAutoMutexPtr shared(GetSharedMutex(), true, TNG_LOCK_TIMEOUT_MS, true);
    const TNGLockHold folderMaps(GetFolderMapMutex(), true);
    if (!shared.IsLocked() || !folderMaps.IsHeld()) return 0;
    CTNGFolderMap* const pFolderMap = m_pFolderMaps->FindItem(folder);
    return pFolderMap && RewriteList(*pFolderMap, bCompact) == QXTNG_SUCCESS ? 1 : 0;
}

std::uint32_t CTNGSharedDataMgr::RewriteList(CTNGFolderMap& folderMap, bool bCompact) {
    if (!folderMap.m_bListLoaded) return QXTNG_ERROR_FAILED;  // there is nothing that could be written
    const std::uint32_t result =
        folderMap.FileDataList->SaveList(bCompact, folderMap.m_strDataFileName, true);
    if (result != QXTNG_SUCCESS) return result;
    folderMap.NoteRewritten();
    CTNGFileInfo::GetFileLastWriteTime(CachePath(folderMap.m_strListFileName).c_str(),
                                       &folderMap.m_ftListFile);
    if (bCompact) folderMap.m_nStaleBlocks = 0;
    return QXTNG_SUCCESS;
}

std::uint32_t CTNGSharedDataMgr::GetFolderList(std::vector<std::u16string>* pList) {
    const TNGLockHold folderMaps(GetFolderMapMutex(), false);
    if (!folderMaps.IsHeld()) return QXTNG_ERROR_LOCK_FAILED;
    if (m_pFolderMaps->IsEmpty()) return QXTNG_ERROR_NOT_CACHED;
    m_pFolderMaps->ForEach(
        [pList](const CTNGFolderMap& folderMap) { pList->push_back(folderMap.m_strFolderPath); });
    return QXTNG_SUCCESS;
}

std::uint32_t CTNGSharedDataMgr::RefreshDBInSysFileCache() {
    if (!TNGRefresh::IsDue()) return QXTNG_SUCCESS;
    const std::shared_ptr<CTNGMutex> pMutex = GetFolderMapMutex();
    if (!pMutex) return QXTNG_ERROR_FAILED;  // nothing was ever loaded
    const TNGLockHold folderMaps(pMutex, false);
    if (!folderMaps.IsHeld()) return QXTNG_ERROR_LOCK_FAILED;
    if (m_pFolderMaps->IsEmpty()) return QXTNG_ERROR_FAILED;
    std::vector<std::u16string> names;
    m_pFolderMaps->ForEach(
        [&names](const CTNGFolderMap& folderMap) { names.push_back(folderMap.m_strDataFileName); });
    return m_refresh.Start(std::move(names));
}

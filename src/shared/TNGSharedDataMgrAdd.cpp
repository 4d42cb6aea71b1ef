#include "TNGSharedDataMgr.h"
#include "common/TNGFileInfo.h"
#include "locks/TNGLockHold.h"
#include "store/TNGCachePaths.h"

namespace {

std::u16string FileName(int number, const char16_t* pszExtension) {
    const std::string digits = std::to_string(number);
    return std::u16string(digits.begin(), digits.end()) + pszExtension;
}

CTNGFileData* AddRecord(CTNGFolderMap& folderMap, const std::u16string& path) {
    auto pRecord = std::make_unique<CTNGFileData>();
    pRecord->m_strFilePath = path;
    CTNGFileData* const pAdded = pRecord.get();
    folderMap.FileDataList->AddItem(std::move(pRecord));
    return pAdded;
}

}  // namespace

int CTNGSharedDataMgr::AddFileData(const std::u16string& path, CTNGFileData** ppRecord, int* peIndexOperation,
                                   bool* pbNewFolderMap) {
    std::u16string folder = path;
    if (!CutToFolder(folder)) return 0;
    if (!TakeUpForeignFolders()) return 0;
    const TNGLockHold folderMaps(GetFolderMapMutex(), true);
    if (!folderMaps.IsHeld()) return 0;
    CTNGFolderMap* const pFolderMap = FindOrMakeFolderMap(folder, pbNewFolderMap);
    if (!pFolderMap) return 0;
    CTNGFileData* pRecord = FindItem(path);  // of several records of one path the one that counts
    const bool bIndexed = pRecord && pRecord->m_pFolderMap == pFolderMap;
    if (bIndexed || pFolderMap->FileDataList->FindRecord(path, &pRecord)) {
        pFolderMap->NoteChangedRecord();
    } else {
        pRecord = AddRecord(*pFolderMap, path);
        pFolderMap->NoteNewRecord();
    }
    pRecord->m_strDataFileName = pFolderMap->m_strDataFileName;
    pRecord->m_bDeleted = 1;
    pRecord->m_pFolderMap = pFolderMap;
    *ppRecord = pRecord;
    *peIndexOperation = TNG_INDEX_ADD;
    return 1;
}

// The index file is about to be written from memory, which may hold nothing yet although there is a cache, or
// less than an index that could not be read.
bool CTNGSharedDataMgr::TakeUpForeignFolders() {
    m_pFolderMaps->SetIndexFileName(m_strIndexFileName);
    if (HasFolderMaps() && !m_pFolderMaps->IsIndexUnread()) return true;
    bool bAdded = false;
    return m_pFolderMaps->CheckAndAddNewFolderMap(CachePath(m_strIndexFileName), &bAdded, m_pTable.get()) ==
           QXTNG_SUCCESS;
}

CTNGFolderMap* CTNGSharedDataMgr::FindOrMakeFolderMap(const std::u16string& folder, bool* pbNew) {
    *pbNew = false;
    CTNGFolderMap* pFound = m_pFolderMaps->FindItem(folder);
    if (pFound) {
        // Its list may have been forgotten since it was asked for; what is added goes with all of it.
        const std::uint32_t result = m_pFolderMaps->LoadIndexFile(folder, false, &pFound, m_pTable.get());
        if (result == QXTNG_SUCCESS) {
            if (pFound->FileDataList->DropLostBlocks()) {
                pFound->NoteChangedRecord();
                ++*pFound->m_pDataGeneration;
            }
            return pFound;
        }
        if (pFound->FileDataList->IsOutOfReach()) return nullptr;
        // What is damaged is given up, and begun anew.
        pFound->DeleteDataFile();
        pFound->DeleteListFile();
        m_pFolderMaps->RemoveItem(folder);
    }
    auto pFolderMap = std::make_unique<CTNGFolderMap>(false);
    pFolderMap->m_strFolderPath = folder;
    pFolderMap->m_bListLoaded = true;  // an empty list is all there is
    AssignFolderMapFileNames(pFolderMap.get());
    if (pFolderMap->m_strListFileName.empty()) return nullptr;
    m_pFolderMaps->AddItemByKey(pFolderMap.get(), folder);
    *pbNew = true;
    return pFolderMap.release();
}

void CTNGSharedDataMgr::AssignFolderMapFileNames(CTNGFolderMap* pFolderMap) {
    if (!pFolderMap) return;
    std::int32_t number = CTNGFileInfo::GetNewDBFilePathNumber(s_strCacheFolder.Get());
    if (number == 0) return;
    m_pFolderMaps->NextFileNumberAfterMaps(&number);
    if (number > TNG_MAX_FILE_NUMBER) return;
    pFolderMap->m_nFileNumber = number;
    pFolderMap->m_strDataFileName = FileName(number, u".db");
    pFolderMap->m_strListFileName = FileName(number, u".dat");
    pFolderMap->FileDataList->SetListFileName(pFolderMap->m_strListFileName);
    pFolderMap->MakeKeys();
    // What an earlier folder of this number may have left is dead space.
    if (Platform::PathFileExistsW(CachePath(pFolderMap->m_strDataFileName).c_str()))
        pFolderMap->m_nStaleBlocks = 1;
}

std::uint32_t CTNGSharedDataMgr::RemoveFileData(const std::u16string& path) {
    const CTNGAutoMutexPtr shared(GetSharedMutex(), true, TNG_LOCK_TIMEOUT_MS, true);
    const TNGLockHold folderMaps(GetFolderMapMutex(), true);
    if (!shared.IsLocked() || !folderMaps.IsHeld()) return QXTNG_ERROR_LOCK_FAILED;
    RemoveFromIndex(path);
    std::u16string folder = path;
    CTNGFolderMap* const pFolderMap = CutToFolder(folder) ? m_pFolderMaps->FindItem(folder) : nullptr;
    if (!pFolderMap) return QXTNG_ERROR_NOT_CACHED;
    CTNGFileData* pRecord = nullptr;
    if (!pFolderMap->FileDataList->FindRecord(path, &pRecord)) return QXTNG_SUCCESS;
    if (pFolderMap->FileDataList->GetCount() == 1) {
        m_pFolderMaps->RemoveItem(folder);
    } else {
        pFolderMap->FileDataList->RemoveRecord(path);
    }
    return QXTNG_SUCCESS;
}

std::uint32_t CTNGSharedDataMgr::AppendNewThumbnails() {
    const TNGLockHold folderMaps(GetFolderMapMutex(), true);
    if (!folderMaps.IsHeld()) return QXTNG_ERROR_LOCK_FAILED;
    return m_pFolderMaps->AppendThumbnails(m_strIndexFileName);
}

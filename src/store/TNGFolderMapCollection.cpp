#include "TNGFolderMapCollection.h"

#include "TNGForeignFolders.h"

#include "common/TNGFileInfo.h"
#include "common/TNGLog.h"
#include "common/TNGTypes.h"
#include "locks/TNGLockHold.h"
#include "platform/Drives.h"
#include "platform/Text.h"
#include "store/TNGCacheFiles.h"
#include "store/TNGCachePaths.h"
#include "store/TNGDateTimeFile.h"
#include "store/TNGFields.h"

std::atomic<Platform::FILETIME> s_ftDirectoryMap{Platform::FILETIME{}};

namespace {

constexpr char16_t s_szLogSource[] = u"TNGFolderMapCollection";

constexpr std::int64_t kListSaveLimit = 1000;  // ms

void NoteListTime(CTNGFolderMap& folderMap) {
    CTNGFileInfo::GetFileLastWriteTime(CachePath(folderMap.m_strListFileName).c_str(),
                                       &folderMap.m_ftListFile);
}

void NoteIndexTime(const std::u16string& fileName) {
    Platform::FILETIME time = s_ftDirectoryMap.load();
    CTNGFileInfo::GetFileLastWriteTime(CachePath(fileName).c_str(), &time);
    s_ftDirectoryMap.store(time);
}

// Empties the list of a folder that cannot be used, and deletes both of its files if told so.
void GiveUpFolder(CTNGFolderMap& folderMap, bool bDeleteFiles) {
    folderMap.FileDataList->ResetList(bDeleteFiles);
    if (bDeleteFiles) folderMap.DeleteDataFile();
}

// Folders have a drive if their path begins at the root, whose own key is the empty text; others are kept in
// memory, and not saved.
bool HasDrive(const std::u16string& folder) {
    return folder.empty() || folder.starts_with(Platform::kPathSeparator);
}

std::uint32_t DriveType(const std::u16string& folder) {
    return Platform::GetDriveTypeW(folder.empty() ? u"/" : folder.c_str());
}

// The limit of time on the lists of a save.
class SaveClock {
  public:
    SaveClock() { Platform::QueryPerformanceCounter(&m_nStart); }

    bool HasRunOut() const { return CTNGFileInfo::GetElapsedMilliseconds(&m_nStart) >= kListSaveLimit; }

    /// Runs what does not count.
    template <typename Work>
    void Exclude(Work work) {
        std::int64_t before = 0;
        std::int64_t after = 0;
        Platform::QueryPerformanceCounter(&before);
        work();
        Platform::QueryPerformanceCounter(&after);
        m_nStart += after - before;
    }

  private:
    std::int64_t m_nStart = 0;
};

}  // namespace

std::shared_ptr<CTNGMutex> CTNGFolderMapCollection::GetFolderMapMutex() {
    const TNGGuardLock lock(m_guard);
    if (!folderMapMutex && !m_strIndexFileName.empty()) folderMapMutex = std::make_shared<CTNGMutex>();
    return folderMapMutex;
}

void CTNGFolderMapCollection::SetIndexFileName(const std::u16string& name) {
    const TNGGuardLock lock(m_guard);
    m_strIndexFileName = name;
}

int CTNGFolderMapCollection::LookupFolderMap(const std::u16string& path, CTNGFolderMap** ppFolderMap) const {
    CTNGFolderMap* pFolderMap = FindItem(path);
    if (pFolderMap && ppFolderMap) *ppFolderMap = pFolderMap;
    return pFolderMap ? 1 : 0;
}

std::uint32_t CTNGFolderMapCollection::Load(const std::u16string& fileName, const char16_t* pPath,
                                            bool bPathIsFile, bool bLoadDirMapOnly,
                                            TNGPathIndex* pPathIndex) {
    TNG_LOG(TNG_LOG_ENTER, u"CTNGFolderMapCollection::Load");
    SetIndexFileName(fileName);
    const TNGLockHold hold(GetFolderMapMutex(), true);
    if (!hold.IsHeld()) {
        SetIndexFileName({});
        TNG_LOG(TNG_LOG_LEAVE, u"CTNGFolderMapCollection::Load condition folderMapMutex.IsLocked failed");
        return QXTNG_ERROR_LOCK_FAILED;
    }
    if (pPathIndex) pPathIndex->clear();  // with the records that it points at
    ClearItemsByKey(true);
    std::u16string target = pPath ? pPath : u"";
    const bool bHasTarget = pPath && !bLoadDirMapOnly && (!bPathIsFile || CutToFolder(target));
    const bool bHeaderOnly = pPath || bLoadDirMapOnly;

    std::int32_t count = 0;
    std::int32_t bOpened = 0;
    IndexFile file(CachePath(fileName), true, &count, &bOpened, false);
    m_bIndexUnread = file.IsOutOfReach();
    if (!bOpened) {
        s_ftDirectoryMap.store(Platform::FILETIME{});
        TNG_LOG(TNG_LOG_LEAVE, file.Status() == FILE_NOT_FOUND
                                   ? u"CTNGFolderMapCollection::Load condition eStatus == FILE_NOT_FOUND"
                                   : u"CTNGFolderMapCollection::Load condition QXTNG_ERROR_NOT_CACHED");
        return QXTNG_ERROR_NOT_CACHED;
    }
    FileNames taken;
    try {
        for (; file.CanReadOn() && count > 0; --count)
            TakeUpFolder(file, target, bHeaderOnly, bHasTarget, pPathIndex, taken);
    } catch (...) {  // memory has run out
        if (pPathIndex) pPathIndex->clear();
        ClearItemsByKey(true);
        m_bIndexUnread = true;
        throw;
    }
    m_bIndexUnread = file.IsOutOfReach();
    if (!bHeaderOnly && pPathIndex) AddToIndex(*pPathIndex);
    NoteIndexTime(fileName);
    TNG_LOG(TNG_LOG_LEAVE, u"CTNGFolderMapCollection::Load");
    return m_pTable->empty() ? QXTNG_ERROR_FILE_READ : QXTNG_SUCCESS;
}

// Reads one folder record, and what is to be loaded of the folder. A folder that cannot be used is dropped.
void CTNGFolderMapCollection::TakeUpFolder(IndexFile& file, const std::u16string& target, bool bHeaderOnly,
                                           bool bLoadTarget, TNGPathIndex* pPathIndex, FileNames& taken) {
    auto pFolderMap = std::make_unique<CTNGFolderMap>(bHeaderOnly);
    const auto giveUp = [&] {
        if (IsTwin(*pFolderMap, taken)) return ForgetTwin(*pFolderMap);
        GiveUpFolder(*pFolderMap, !bHeaderOnly);
    };
    try {
        file.ReadRecord(pFolderMap.get());
        if (file.Status() != FILE_READ_OK && !pFolderMap->FileDataList->IsOutOfReach()) {
            TNG_LOG(TNG_LOG_INFO, u"CTNGFolderMapCollection::Load condition file Status() != FILE_READ_OK ");
            TNG_LOG(TNG_LOG_LEAVE, u"CTNGFolderMapCollection::Load condition file Status() != FILE_READ_OK");
            return giveUp();
        }
        if (!bHeaderOnly) NoteListTime(*pFolderMap);
    } catch (const TNGTextTooLong&) {
        TNG_LOG(TNG_LOG_INFO, u"CTNGFolderMapCollection::Load in catch");
        return giveUp();
    }
    if (IsTwin(*pFolderMap, taken)) return ForgetTwin(*pFolderMap);
    if (bLoadTarget && pFolderMap->m_strFolderPath == target && !LoadTarget(*pFolderMap, pPathIndex)) return;
    AddFolder(std::move(pFolderMap), taken);
}

// False if the folder cannot be used. Without its list, if that is out of reach, it can.
bool CTNGFolderMapCollection::LoadTarget(CTNGFolderMap& folderMap, TNGPathIndex* pPathIndex) {
    folderMap.m_bHeaderOnly = false;
    const std::uint32_t result = folderMap.FileDataList->LoadList(folderMap.m_strListFileName, pPathIndex);
    if (result != QXTNG_SUCCESS) {
        TNG_LOG(TNG_LOG_INFO, u"CTNGFolderMapCollection::Load condition FileDataList->Load failed");
        GiveUpFolder(folderMap, result == QXTNG_ERROR_FILE_READ);
        return folderMap.FileDataList->IsOutOfReach();
    }
    folderMap.m_bListLoaded = true;
    NoteListTime(folderMap);
    return true;
}

void CTNGFolderMapCollection::AddFolder(std::unique_ptr<CTNGFolderMap> pFolderMap, FileNames& taken) {
    taken.insert({pFolderMap->m_strListFileName, pFolderMap->m_strDataFileName});
    const std::u16string key = pFolderMap->m_strFolderPath;
    AddItemByKey(pFolderMap.get(), key);
    pFolderMap.release();
}

// True if the folder is there already, or one of its files is another folder's: the first one counts.
bool CTNGFolderMapCollection::IsTwin(const CTNGFolderMap& folderMap, const FileNames& taken) const {
    return FindItem(folderMap.m_strFolderPath) || taken.contains(folderMap.m_strListFileName) ||
           taken.contains(folderMap.m_strDataFileName);
}

void CTNGFolderMapCollection::AddToIndex(TNGPathIndex& pathIndex) const {
    std::size_t count = 0;
    ForEach([&](const CTNGFolderMap& folderMap) {
        count += static_cast<std::size_t>(folderMap.FileDataList->GetCount());
    });
    pathIndex.reserve(count);
    ForEach([&](const CTNGFolderMap& folderMap) {
        for (int i = 0; i < folderMap.FileDataList->GetCount(); ++i) {
            CTNGFileData* const pRecord = folderMap.FileDataList->GetAt(i);
            if (pRecord->m_bDeleted == 0) pathIndex[pRecord->m_strFilePath] = pRecord;
        }
    });
}

std::uint32_t CTNGFolderMapCollection::LoadIndexFile(const std::u16string& path, bool bPathIsFile,
                                                     CTNGFolderMap** ppFolderMap, TNGPathIndex* pPathIndex) {
    if (m_pTable->empty()) return QXTNG_ERROR_NOT_CACHED;
    CTNGFolderMap* pFolderMap = *ppFolderMap;
    if (!pFolderMap) {
        std::u16string folder = path;
        if (!folder.empty() && bPathIsFile && !CutToFolder(folder)) return QXTNG_ERROR_NOT_CACHED;
        pFolderMap = FindItem(folder);
    }
    if (!pFolderMap) return QXTNG_ERROR_NOT_CACHED;
    if (pFolderMap->m_bListLoaded) return QXTNG_SUCCESS;

    const std::uint32_t result =
        pFolderMap->FileDataList->LoadList(pFolderMap->m_strListFileName, pPathIndex);
    pFolderMap->m_bListLoaded = result == QXTNG_SUCCESS;
    if (result == QXTNG_SUCCESS) {
        *ppFolderMap = pFolderMap;
        TNG_LOG(TNG_LOG_INFO, u"CTNGFolderMapCollection::LoadIndexFile succeeded");
        NoteListTime(*pFolderMap);
    } else {
        GiveUpFolder(*pFolderMap, result == QXTNG_ERROR_FILE_READ);
        TNG_LOG(TNG_LOG_INFO, u"CTNGFolderMapCollection::LoadIndexFile failed");
    }
    return result;
}

std::uint32_t CTNGFolderMapCollection::CheckAndAddNewFolderMap(const std::u16string& indexPath, bool* pbAdded,
                                                               TNGPathIndex* pPathIndex) {
    const TNGLockHold hold(GetFolderMapMutex(), true);
    if (hold.IsHeld()) return TakeUpIndex(indexPath, pbAdded, pPathIndex);
    m_bIndexUnread = true;
    return QXTNG_ERROR_LOCK_FAILED;
}

// The index is about to be written from memory: what it lists has to be there first.
bool CTNGFolderMapCollection::MayWriteIndex(const std::u16string& fileName) {
    bool bAdded = false;
    return !m_bIndexUnread || TakeUpIndex(CachePath(fileName), &bAdded, nullptr) == QXTNG_SUCCESS;
}

std::uint32_t CTNGFolderMapCollection::TakeUpIndex(const std::u16string& indexPath, bool* pbAdded,
                                                   TNGPathIndex* pPathIndex) {
    std::int32_t count = 0;
    std::int32_t bOpened = 0;
    IndexFile file(indexPath, true, &count, &bOpened, false);
    m_bIndexUnread = file.IsOutOfReach();
    if (!bOpened) return m_bIndexUnread ? QXTNG_ERROR_FAILED : QXTNG_SUCCESS;
    *pbAdded = false;
    TNGForeignFolders foreign(*this, pPathIndex);
    bool bAll = true;
    for (; file.CanReadOn() && count > 0; --count) {
        try {
            auto pFolderMap = std::make_unique<CTNGFolderMap>(true);
            file.ReadRecord(pFolderMap.get());
            if (file.Status() != FILE_READ_OK) {
                TNG_LOG(TNG_LOG_INFO,
                        u"CTNGFolderMapCollection::CheckAndAddNewFolderMap condition file Status() != "
                        u"FILE_READ_OK ");
                TNG_LOG(TNG_LOG_LEAVE,
                        u"CTNGFolderMapCollection::CheckAndAddNewFolderMap condition file Status() != "
                        u"FILE_READ_OK");
                continue;
            }
            bAll &= foreign.TakeUp(std::move(pFolderMap), pbAdded);
        } catch (...) {
            bAll = false;
            TNG_LOG(TNG_LOG_EXCEPTION, u"CTNGFolderMapCollection::CheckAndAddNewFolderMap");
        }
    }
    m_bIndexUnread = !bAll || file.IsOutOfReach();
    return m_bIndexUnread ? QXTNG_ERROR_FAILED : QXTNG_SUCCESS;
}

std::uint32_t CTNGFolderMapCollection::SaveFolderMaps(const std::u16string& fileName, bool bSaveLists) {
    const TNGLockHold hold(GetFolderMapMutex(), true);
    if (!hold.IsHeld()) return QXTNG_ERROR_LOCK_FAILED;
    try {
        if (!MayWriteIndex(fileName)) return QXTNG_ERROR_FILE_WRITE;
        SetCacheModifiedTime();  // first, in case that this process is killed at it
        auto count = static_cast<std::int32_t>(m_pTable->size());
        std::int32_t bOpened = 0;
        IndexFile file(CachePath(fileName), false, &count, &bOpened, false);
        if (!bOpened) return QXTNG_ERROR_FILE_WRITE;
        bool bGood = true;
        SaveClock clock;
        for (auto& [path, pFolderMap] : *m_pTable) {
            if (!HasDrive(path)) continue;
            if (DriveType(path) != Platform::DRIVE_FIXED) {
                const CTNGFolderMap& folderMap = *pFolderMap;
                clock.Exclude([&folderMap] {
                    folderMap.DeleteListFile();
                    folderMap.DeleteDataFile();
                });
                continue;
            }
            bGood &= SaveFolder(file, *pFolderMap, bSaveLists);
            if (clock.HasRunOut()) bSaveLists = false;
        }
        bGood &= file.Close();
        if (!m_pTable->empty()) NoteIndexTime(fileName);
        return bGood ? QXTNG_SUCCESS : QXTNG_ERROR_FILE_WRITE;
    } catch (...) {
        return QXTNG_ERROR_FILE_WRITE;
    }
}

bool CTNGFolderMapCollection::SaveFolder(IndexFile& file, CTNGFolderMap& folderMap, bool bSaveLists) {
    folderMap.m_bHeaderOnly = !bSaveLists;
    file.WriteRecord(&folderMap);
    if (file.Status() != FILE_WRITE_OK) return false;
    if (bSaveLists) NoteListTime(folderMap);
    return true;
}

std::uint32_t CTNGFolderMapCollection::AppendThumbnails(const std::u16string& fileName) {
    if (m_pTable->empty()) return QXTNG_SUCCESS;
    try {
        if (!MayWriteIndex(fileName)) return QXTNG_ERROR_FILE_WRITE;
        SetCacheModifiedTime();
        auto count = static_cast<std::int32_t>(m_pTable->size());
        std::int32_t bOpened = 0;
        IndexFile file(CachePath(fileName), false, &count, &bOpened, false);
        if (!bOpened) return QXTNG_ERROR_FILE_WRITE;
        for (auto& [path, pFolderMap] : *m_pTable) {
            if (!SaveFolder(file, *pFolderMap, false)) return QXTNG_ERROR_FILE_WRITE;
            if (pFolderMap->FileDataList->AppendNewRecords() == QXTNG_SUCCESS) {
                NoteListTime(*pFolderMap);
                pFolderMap->NoteAppended();
            }
        }
        if (!file.Close()) return QXTNG_ERROR_FILE_WRITE;
        NoteIndexTime(fileName);
        return QXTNG_SUCCESS;
    } catch (...) {
        return QXTNG_ERROR_FILE_WRITE;
    }
}

bool CTNGFolderMapCollection::DeleteAll(bool bDeleteFiles) {
    const std::shared_ptr<CTNGMutex> pMutex = GetFolderMapMutex();
    if (!pMutex) return true;  // nothing was ever loaded
    {
        const TNGLockHold hold(pMutex, true);
        if (!hold.IsHeld()) return false;
        if (m_pTable->empty()) return true;
        for (auto& [path, pFolderMap] : *m_pTable) {
            pFolderMap->FileDataList->ResetList(bDeleteFiles);
            if (bDeleteFiles && pFolderMap->DeleteDataFile())
                GetFileLockRegistry().RemoveFileLock(pFolderMap->m_nDataFileKey, false);
        }
        ClearItemsByKey(true);
    }
    // The lock stays: a thread may wait for it now, and two locks at a time would guard nothing.
    const TNGGuardLock lock(m_guard);
    if (bDeleteFiles && !m_strIndexFileName.empty()) DeleteIndexFile(m_strIndexFileName);
    return true;
}

void CTNGFolderMapCollection::DeleteIndexFile(const std::u16string& fileName) {
    if (DeleteCacheFileNoLock(CachePath(fileName))) s_ftDirectoryMap.store(Platform::FILETIME{});
}

void CTNGFolderMapCollection::NextFileNumberAfterMaps(std::int32_t* pNumber) const {
    for (const auto& [path, pFolderMap] : *m_pTable) {
        const std::int32_t number = pFolderMap->m_nFileNumber;
        if (number >= *pNumber && number <= TNG_MAX_FILE_NUMBER) *pNumber = number + 1;
    }
}

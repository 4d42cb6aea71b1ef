#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "common/TNGCollectionBase2.h"
#include "locks/TNGLockHold.h"
#include "locks/TNGMutex.h"
#include "shared/TNGFoundRecord.h"
#include "shared/TNGRefresh.h"
#include "store/TNGFileData.h"
#include "store/TNGFolderMapCollection.h"

enum TNGIndexOperation : int {
    TNG_INDEX_ADD = 1,
    TNG_INDEX_REPLACE = 2,
    TNG_INDEX_REMOVE = 3,
    TNG_INDEX_CLEAR = 4,
};

/// What one process holds of the cache in memory: all folder maps with the records that are loaded, and the
/// path index, its own table: the live records by path, owned by their lists. Results are TNGResult codes.
///
/// Two locks with a time-out of 1000 ms guard it, always taken in this order: sharedMutex the path index and
/// the content of the records, and folderMapMutex (of the collection) the folder maps with their lists. What
/// writes records to a file holds both. Operations take the locks themselves unless told otherwise, and
/// answer QXTNG_ERROR_LOCK_FAILED if they cannot: with nothing changed, unless it is the lock of one of the
/// files that could not be had. Callers have entered the cache.
class CTNGSharedDataMgr : public CTNGCollectionBase2<std::u16string, CTNGFileData> {
  public:
    explicit CTNGSharedDataMgr(const std::u16string& indexFileName);
    ~CTNGSharedDataMgr() override;

    /// The lock of the path index.
    CTNGMutex* GetSharedMutex() const { return m_pSharedMutex.get(); }

    bool IsCacheEnabled() const { return m_bCacheEnabled; }
    /// True in doubt.
    bool HasFolderMaps();

    bool HasUnloadedFolders();

    /// --- Loading and keeping in step ---

    /// Loads in place of what is there: everything (no `path`), the index file and the list of one folder, or
    /// with `bLoadDirMapOnly` the index file alone. `bPathIsFile`: the folder that `path` lies in is meant.
    /// `bKeepLoaded` leaves alone what another thread has loaded or begun meanwhile.
    std::uint32_t LoadDB(const char16_t* path, bool bPathIsFile, bool bLoadDirMapOnly, bool bKeepLoaded);

    /// Loads the list of one folder, unless it is loaded. A list that is damaged costs the folder.
    std::uint32_t LoadFolderData(const char16_t* path, bool bPathIsFile);

    /// Forgets what other processes have changed since this one last looked. `*pbModified` receives whether
    /// anything was.
    std::uint32_t SynchronizeCache(bool* pbModified);

    /// There is an index in the present folder. And: it is there, but could not be opened or read.
    bool HasIndexFile() const;
    bool IsIndexUnread() const { return m_pFolderMaps->IsIndexUnread(); }

    /// Copies the files of the cache to `newFolder` and deletes them from the present one; the caller then
    /// sets the folder. 1 if that worked or there was nothing to do, 0 if it failed: the present folder is
    /// whole then, and the new one clean. QXTNG_ERROR_LOCK_FAILED: nothing was tried.
    std::uint32_t UpdateCacheFolder(const std::u16string& newFolder);

    /// Empties the memory.
    std::uint32_t Forget() { return ForgetOrDelete(false); }

    /// Disabling empties the cache: memory, and the files of all folders in memory.
    std::uint32_t SetCacheEnabled(bool bEnable);

    /// Saves everything and empties the memory.
    std::uint32_t Shutdown();

    /// --- Changes by this process; files hear of them by AppendNewThumbnails() and SaveFolderMap() ---

    /// Makes the record of `path`, marked as deleted, or marks the one that is there. Its folder map is made
    /// if need be, and `*pbNewFolderMap` set. The caller holds sharedMutex for writing, and hands record and
    /// operation on to UpdateIndex(). 1, or 0 on failure.
    int AddFileData(const std::u16string& path, CTNGFileData** ppRecord, int* peIndexOperation,
                    bool* pbNewFolderMap);

    /// Gives a new folder map a number and its file names; without a free number it gets no names. The caller
    /// holds folderMapMutex.
    void AssignFolderMapFileNames(CTNGFolderMap* pFolderMap);

    /// Enters a record into the path index, takes it out, or empties the index. The caller holds sharedMutex
    /// for writing. Always 1.
    int UpdateIndex(CTNGFileData* pRecord, int eIndexOperation);

    /// Takes back a record that AddFileData() made, and its folder map if that has no other.
    std::uint32_t RemoveFileData(const std::u16string& path);

    /// Deletes a live record, and with the last one of a folder the folder's files. `bSaveList` saves the
    /// list.
    std::uint32_t DeleteFileData(const std::u16string& path, bool bSaveList);

    /// Deletes a folder map with its records and its files.
    std::uint32_t DeleteFolder(const std::u16string& folder);

    /// Fills `pList` with copies of those records of a folder whose source files have changed; the copies
    /// bear the files' present times and sizes. Records whose files are gone are deleted, and `*pbRemoved`
    /// set. The caller holds sharedMutex for writing.
    std::uint32_t GetModifiedFiles(const std::u16string& folder, std::vector<TNGFoundRecord>* pList,
                                   bool* pbRemoved);

    /// Notes that a record of the folder got a new block in place of one that is dead now.
    std::uint32_t MarkFolderModified(const std::u16string& folder);

    /// Counts a block that cannot be read as dead. The caller holds folderMapMutex for writing. 1, or 0 if
    /// there is no such folder.
    int MarkStaleBlock(const std::u16string& path);

    /// Rewrites a folder's list, with `bCompact` its data file, too. 1 on success, else 0.
    int SaveFolderMap(const std::u16string& folder, bool bCompact);

    /// Writes the index file, and appends to the lists what they lack. The caller holds sharedMutex for
    /// writing.
    std::uint32_t AppendNewThumbnails();

    /// Appends the paths of all folders to `pList`.
    std::uint32_t GetFolderList(std::vector<std::u16string>* pList);

    /// Starts the reading of all data files in the background, unless it has been done lately.
    std::uint32_t RefreshDBInSysFileCache();

    std::shared_ptr<CTNGMutex> GetFolderMapMutex() { return m_pFolderMaps->GetFolderMapMutex(); }

  private:
    void ClearIndex() { m_pTable->clear(); }
    void RemoveFromIndex(const std::u16string& path) { m_pTable->erase(path); }
    void RemoveFromIndex(const CTNGFolderMap& folderMap);
    std::uint32_t ForgetOrDelete(bool bDeleteFiles);
    std::uint32_t SynchronizeDirectoryMap(bool* pbModified);
    std::uint32_t ResetFolderMap(CTNGFolderMap* pFolderMap);
    std::uint32_t RemoveFolderMap(CTNGFolderMap* pFolderMap);
    std::uint32_t MoveFolderMaps(const std::u16string& newFolder);
    bool CopyFolderMapFiles(const CTNGFolderMap& folderMap, const std::u16string& newFolder,
                            std::vector<std::u16string>* pCopies);
    bool TakeUpForeignFolders();
    CTNGFolderMap* FindOrMakeFolderMap(const std::u16string& folder, bool* pbNew);
    std::uint32_t SaveIndexOfTheRest(TNGLockHold& folderMaps);
    void DeleteFolderOfLastRecord(const CTNGFolderMap& folderMap);
    std::uint32_t RewriteList(CTNGFolderMap& folderMap, bool bCompact);

    std::unique_ptr<CTNGMutex> m_pSharedMutex;
    std::atomic<bool> m_bCacheEnabled{false};
    std::unique_ptr<CTNGFolderMapCollection> m_pFolderMaps;
    std::u16string m_strIndexFileName;
    TNGRefresh m_refresh;
};

#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <unordered_set>

#include "common/TNGCollectionBase2.h"
#include "common/TNGGuard.h"
#include "locks/TNGMutex.h"
#include "platform/Time.h"
#include "store/TNGFolderMap.h"
#include "store/TNGRecordFile.h"

/// Last write time of the index file when this process last read or wrote it.
extern std::atomic<Platform::FILETIME> s_ftDirectoryMap;

/// All folders of a cache, by folder path, and the index file that lists them. Results are TNGResult codes.
/// Its lock has a time-out of 1000 ms; each operation says how it takes it. The format of the index file
/// stands in docs/cache-format.md.
class CTNGFolderMapCollection : public CTNGCollectionBase2<std::u16string, CTNGFolderMap> {
  public:
    /// The lock of the collection, folderMapMutex; null while there is no index file name.
    std::shared_ptr<CTNGMutex> GetFolderMapMutex();

    void SetIndexFileName(const std::u16string& name);

    /// 1 if there is a folder map of this path; `ppFolderMap` may be null.
    int LookupFolderMap(const std::u16string& path, CTNGFolderMap** ppFolderMap) const;

    /// Reads the index file in place of what is there, under a write hold that it takes. Lists are loaded of
    /// all folders (no `pPath`), of one (the folder of `pPath`), or of none (`bLoadDirMapOnly`). A damaged
    /// folder costs that folder alone; one whose list is out of reach is there without it. Live records go
    /// into `pPathIndex`, if it is given, in place of what it holds. QXTNG_ERROR_NOT_CACHED if there is no
    /// index file, or it cannot be opened; QXTNG_ERROR_FILE_READ if it has no usable folder.
    std::uint32_t Load(const std::u16string& fileName, const char16_t* pPath, bool bPathIsFile,
                       bool bLoadDirMapOnly, TNGPathIndex* pPathIndex);

    /// Loads the list of one folder, unless it is loaded: that of `*ppFolderMap`, or if that is null of
    /// `path`.
    /// `*ppFolderMap` receives a folder map that was loaded. The caller has the write hold.
    std::uint32_t LoadIndexFile(const std::u16string& path, bool bPathIsFile, CTNGFolderMap** ppFolderMap,
                                TNGPathIndex* pPathIndex);

    /// Takes up the folders of the index file that are not there yet and have a list file, under a write hold
    /// that it takes. `*pbAdded` receives whether there were any. They take the place of folders that claim
    /// the same files, or of the same folder with other files: those are forgotten, and leave `pPathIndex`.
    /// QXTNG_ERROR_FAILED if the index file is out of reach, or _LOCK_FAILED; it is not written over then.
    std::uint32_t CheckAndAddNewFolderMap(const std::u16string& indexPath, bool* pbAdded,
                                          TNGPathIndex* pPathIndex);

    /// Writes the index file and, with `bSaveLists`, lists that have changed, for about a second; what is
    /// left then stays to be saved. Takes a write hold: saving changes the folder maps. Folders that are not
    /// on a fixed drive lose their files.
    std::uint32_t SaveFolderMaps(const std::u16string& fileName, bool bSaveLists);

    /// Writes the index file, and appends new records to the lists. The caller has the write hold.
    std::uint32_t AppendThumbnails(const std::u16string& fileName);

    /// Drops all folder maps, and with `bDeleteFiles` deletes all files of the cache, under a write hold that
    /// it takes. False, and nothing changed, if it cannot be had.
    bool DeleteAll(bool bDeleteFiles);

    /// Deletes the index file.
    static void DeleteIndexFile(const std::u16string& fileName);

    /// True while folders of the index file may be missing here, because it was out of reach.
    bool IsIndexUnread() const { return m_bIndexUnread; }

    bool IsEmpty() const { return m_pTable->empty(); }

    /// Calls `work` with each folder map. It must neither add nor remove any.
    template <typename Work>
    void ForEach(Work work) const {
        for (const auto& [path, pFolderMap] : *m_pTable)
            work(*pFolderMap);
    }

    /// Raises `*pNumber` above the file number of every folder map.
    void NextFileNumberAfterMaps(std::int32_t* pNumber) const;

  private:
    using IndexFile = CTNGRecordFile<CTNGFolderMap>;

    using FileNames = std::unordered_set<std::u16string>;

    void TakeUpFolder(IndexFile& file, const std::u16string& target, bool bHeaderOnly, bool bLoadTarget,
                      TNGPathIndex* pPathIndex, FileNames& taken);
    bool LoadTarget(CTNGFolderMap& folderMap, TNGPathIndex* pPathIndex);
    void AddFolder(std::unique_ptr<CTNGFolderMap> pFolderMap, FileNames& taken);
    void AddToIndex(TNGPathIndex& pathIndex) const;
    std::uint32_t TakeUpIndex(const std::u16string& indexPath, bool* pbAdded, TNGPathIndex* pPathIndex);
    bool IsTwin(const CTNGFolderMap& folderMap, const FileNames& taken) const;
    bool MayWriteIndex(const std::u16string& fileName);
    bool SaveFolder(IndexFile& file, CTNGFolderMap& folderMap, bool bSaveLists);

    std::atomic<bool> m_bIndexUnread{false};

    TNGGuard m_guard;  // of the two fields below
    std::shared_ptr<CTNGMutex> folderMapMutex TNG_GUARDED_BY(m_guard);
    std::u16string m_strIndexFileName TNG_GUARDED_BY(m_guard);
};

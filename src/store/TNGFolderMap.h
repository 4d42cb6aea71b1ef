#pragma once

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>

#include "platform/Time.h"
#include "store/TNGFileDataCollection.h"
#include "store/TNGFolderFiles.h"

/// Version of a folder record in the index file. Stored: the value never changes.
inline constexpr std::uint32_t FOLDER_MAP_CURRENT_VERSION = 1;

/// One source folder that has thumbnails in the cache: the names of its two files, its records if they are
/// loaded, and what is to be saved. Its record in the index file stands in docs/cache-format.md. It has no
/// lock of its own; the collection's is held around every use.
class CTNGFolderMap : public TNGFolderFiles {
  public:
    /// With `bHeaderOnly`, Load() and Save() handle the folder record alone, and not the list.
    explicit CTNGFolderMap(bool bHeaderOnly);
    ~CTNGFolderMap() { ++*m_pDataGeneration; }
    CTNGFolderMap(const CTNGFolderMap&) = delete;
    CTNGFolderMap& operator=(const CTNGFolderMap&) = delete;

    /// Reads one folder record, and the list. 1 or 0. If the list alone was unusable, the stream stands
    /// behind the record. Throws std::bad_alloc for a text that is too long.
    int Load(std::FILE* pFile);

    /// Saves the list, if it is loaded and has changed, and writes the folder record. 1 or 0. If the list
    /// cannot be saved, the record is written only if there is an older one on disk.
    int Save(std::FILE* pFile);

    /// Works the keys of both files out from their names and the cache folder.
    void MakeKeys();

    /// What the list file lacks: a new record, which an append brings, or a change that only a rewrite does.
    /// NoteAppended() and NoteRewritten() say which of them has been done; an append may have left out
    /// records that are still being made. These may be called without the collection's lock.
    void NoteNewRecord() { m_bListDirty = true; }
    void NoteChangedRecord() { m_bListDirty = m_bRewriteOwed = true; }
    void NoteAppended() { m_bListDirty = m_bRewriteOwed || FileDataList->HasUnsavedRecords(); }
    void NoteRewritten() { m_bListDirty = m_bRewriteOwed = false; }

    bool m_bHeaderOnly;
    std::uint32_t m_nVersion = 0;
    std::u16string m_strFolderPath;         // the folder's key; no separator at its end
    std::int32_t m_nFileNumber = 0;         // the number in both names
    Platform::FILETIME m_ftListFile;        // of the list file when this process last read or wrote it
    std::atomic<bool> m_bListDirty{false};  // the list file does not hold all that the list does
    std::unique_ptr<CTNGFileDataCollection> FileDataList;
    std::int32_t m_nStaleBlocks = 0;  // dead blocks in the data file since its last compaction
    bool m_bListLoaded = false;       // FileDataList holds the records of the list file

  private:
    bool ReadRecord(std::FILE* pFile);
    void WriteRecord(std::FILE* pFile) const;
    bool SaveFiles();

    std::atomic<bool> m_bRewriteOwed{false};  // of records that the list file holds, some have changed
};

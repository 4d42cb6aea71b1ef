#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "store/TNGDataFile.h"
#include "store/TNGFileData.h"

struct TNGFolderFileKeys;
template <typename Record>
class CTNGRecordFile;

/// A file of a new name in the cache folder, deleted again unless it takes another's place.
class TNGTemporaryFile {
  public:
    TNGTemporaryFile() = default;
    ~TNGTemporaryFile();
    TNGTemporaryFile(const TNGTemporaryFile&) = delete;
    TNGTemporaryFile& operator=(const TNGTemporaryFile&) = delete;

    /// Makes a new file, in place of one made before; its path stays empty if that fails.
    void Make();

    bool IsMade() const { return !m_strPath.empty(); }
    const std::u16string& Path() const { return m_strPath; }

    /// Replaces `target` in one step.
    bool Replace(const std::u16string& target);

  private:
    std::u16string m_strPath;
};

/// One pass over a folder's records that rewrites the list file, the data file, or both, through temporary
/// files. The records themselves change only when all has gone well. The list lock is held by the caller.
class TNGListRewrite {
  public:
    TNGListRewrite(const std::vector<CTNGFileData*>& records, const TNGFolderFileKeys& keys,
                   const std::u16string& listPath, const std::u16string& dataFileName);

    /// A TNGResult. With `bCompact` the blocks of live pictures and videos go to a new data file; with
    /// `bRewrite` live records go to a new list file.
    std::uint32_t Run(bool bCompact, bool bRewrite);

    /// True if the pass wrote a list file.
    bool HasNewList() const { return m_bNewList; }

    /// Records that the new list file holds.
    /// Bytes of the new list file.
    std::int64_t ListBytes() const { return m_nListBytes; }

    int RecordsWritten() const { return m_nWritten; }

  private:
    using ListFile = CTNGRecordFile<CTNGFileData>;

    // What the pass makes of a record.
    struct Outcome {
        CTNGFileData* pRecord;
        CTNGFileData after;
    };
    enum class Fate { Keep, Drop, Fail };

    std::uint32_t RunPass(bool bCompact, bool bRewrite);
    std::uint32_t WriteFiles(bool bCompact, int deadBytes);
    std::uint32_t TakePlace(bool bCompact);
    bool WriteDeadBytes(int nBytes);
    bool CouldBeMistaken();
    std::uint32_t WriteRecords(bool bCompact, ListFile* pList);
    Fate Compact(CTNGFileData& record);
    bool CopyThumbnailBlock(CTNGFileData& record, bool bKeepExtraLarge);
    void Publish();

    const std::vector<CTNGFileData*>& m_records;
    const TNGFolderFileKeys& m_keys;
    std::u16string m_strListPath;
    std::u16string m_strDataFileName;
    std::u16string m_strDataPath;
    std::int64_t m_nDataBytes = 0;  // of the old data file: no thumbnail is larger
    TNGTemporaryFile m_newList;
    TNGTemporaryFile m_newData;
    std::vector<Outcome> m_outcomes;
    bool m_bNewList = false;
    std::uint32_t m_eListFailure = 0;  // the result if there can be no new list file
    int m_nWritten = 0;
    std::int64_t m_nListBytes = 0;
};

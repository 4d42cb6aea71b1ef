#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "store/TNGDataFile.h"
#include "store/TNGFileData.h"
#include "store/TNGTemporaryFile.h"

struct TNGFolderFiles;
template <typename Record>
class CTNGRecordFile;

/// One pass over a folder's records that rewrites the list file, the data file, or both, through temporary
/// files. A compaction changes the records whose blocks it moves or that it marks, and only when all has gone
/// well; a rewrite of the list alone leaves them as they are, but for the version that they are written in.
/// The list lock is held by the caller.
class TNGListRewrite {
  public:
    TNGListRewrite(const std::vector<CTNGFileData*>& records, const TNGFolderFiles& files,
                   const std::u16string& listPath, const std::u16string& dataFileName);

    /// A TNGResult. With `bCompact` the blocks of live pictures and videos go to a new data file; with
    /// `bRewrite` live records go to a new list file.
    std::uint32_t Run(bool bCompact, bool bRewrite);

    /// True if the pass wrote a list file.
    bool HasNewList() const { return m_bNewList; }

    /// Bytes of the new list file.
    std::int64_t ListBytes() const { return m_nListBytes; }

    /// Records that the new list file holds.
    int RecordsWritten() const { return m_nWritten; }

  private:
    using ListFile = CTNGRecordFile<CTNGFileData>;

    // What a compaction makes of a record.
    struct Outcome {
        CTNGFileData* pRecord;
        CTNGFileData after;
    };
    enum class Fate { Keep, Drop, Fail };

    std::uint32_t RunPass(bool bCompact, bool bRewrite);
    std::uint32_t WriteFiles(bool bCompact);
    std::uint32_t TakePlace(bool bCompact);
    std::uint32_t WriteRecords(bool bCompact, ListFile* pList);
    bool WriteRecord(CTNGFileData& record, ListFile* pList);
    Fate Compact(CTNGFileData& record);
    static Fate FateOfUnreadable(const CTNGDataFile& file);
    Fate CopyThumbnailBlock(CTNGFileData& record, bool bKeepExtraLarge);
    bool KeepFromMistakes(const CTNGFileData& record, std::int64_t nBlockBytes);
    bool IsOldTrailerAt(std::int64_t nOffset, bool* pbTrailer);
    bool WriteDeadByte();
    void Publish();

    const std::vector<CTNGFileData*>& m_records;
    const TNGFolderFiles& m_files;
    std::u16string m_strListPath;
    std::u16string m_strDataFileName;
    std::u16string m_strDataPath;
    std::int64_t m_nDataBytes = 0;  // of the old data file: no thumbnail is larger
    TNGTemporaryFile m_newList;
    TNGTemporaryFile m_newData;
    std::int64_t m_nNewDataBytes = 0;  // written to the new data file
    std::vector<Outcome> m_outcomes;
    bool m_bNewList = false;
    std::uint32_t m_eListFailure = 0;  // the result if there can be no new list file
    int m_nWritten = 0;
    std::int64_t m_nListBytes = 0;
};

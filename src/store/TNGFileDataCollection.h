#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

#include "common/TNGGuard.h"
#include "locks/TNGFileLockRegistry.h"
#include "store/TNGCollectionBase.h"
#include "store/TNGFileData.h"
#include "store/TNGFolderFiles.h"

class CTNGFolderMap;

/// Index of records by path; owned by nobody here.
using TNGPathIndex = std::unordered_map<std::u16string, CTNGFileData*>;

/// The records of one source folder, in the order of its list file. Loading and saving take the list file's
/// lock, for at most 2000 ms; everything else runs under a lock of the caller. Results are TNGResult codes.
/// The format of the list file stands in docs/cache-format.md.
class CTNGFileDataCollection : public CTNGCollectionBase<CTNGFileData> {
  public:
    /// `pFolderMap` owns the collection and `files`.
    CTNGFileDataCollection(CTNGFolderMap* pFolderMap, const TNGFolderFiles& files);
    ~CTNGFileDataCollection() override;

    void SetListFileName(const std::u16string& name) { m_strListFileName = name; }

    /// The lock of the list file; null while there is no name.
    TNGFileLock GetListLock() const;

    /// Takes over a record.
    void AddItem(std::unique_ptr<CTNGFileData> pRecord);

    /// Destroys all records.
    void ClearItems();

    /// The first record of this path, marked as deleted or not. 1, or 0 and `*ppRecord` as it was. Takes the
    /// same time in a list of any length, but for the first search.
    int FindRecord(std::u16string_view path, CTNGFileData** ppRecord) const;

    /// Destroys the first record of this path; the others keep their order. 1, or 0 if there is none.
    int RemoveRecord(std::u16string_view path);

    /// Reads the list file, in place of what is there. Live records go into `pPathIndex`, if it is given.
    /// QXTNG_ERROR_FILE_READ if it is not there or damaged, QXTNG_ERROR_FAILED if a text in it is too long,
    /// or if it is out of reach: the list is then empty.
    std::uint32_t LoadList(const std::u16string& name, TNGPathIndex* pPathIndex);

    /// True if the last LoadList() says nothing about the file, which may be whole: it had no lock,
    /// descriptor, right or memory.
    bool IsOutOfReach() const { return m_bOutOfReach; }

    /// Appends to the file what it does not hold yet. Records that are still being made are left out, and go
    /// to the end of the list. QXTNG_ERROR_FILE_WRITE, too, if there is nothing.
    std::uint32_t AppendNewRecords();

    /// Rewrites the list file (`bRewrite`) without records that are marked; and with `bCompact` the data file
    /// without blocks that no live record points to. Records of a compaction that fails are as before.
    std::uint32_t SaveList(bool bCompact, const std::u16string& dataFileName, bool bRewrite);

    /// How often the list file has been rewritten: each time without what was marked as deleted then.
    std::uint32_t Rewrites() const { return m_nRewrites; }

    /// Notes where the block of a record ends that has become live.
    void NoteBlock(const CTNGFileData& record);

    /// Marks those records as deleted whose blocks the data file does not hold, because it has been cut off
    /// or removed from outside; the next append writes the list anew. True if there were any.
    bool DropLostBlocks();

    /// True if the list file holds records, but not all of them.
    bool HasUnsavedRecords() const { return m_nLastSaved != -1 && m_nLastSaved < GetCount() - 1; }

    /// Empties the list, and deletes its file if told so.
    void ResetList(bool bDeleteFile);

  private:
    struct ByPath {
        using is_transparent = void;
        std::size_t operator()(std::u16string_view path) const {
            return std::hash<std::u16string_view>()(path);
        }
        std::size_t operator()(const CTNGFileData* p) const {
            return (*this)(std::u16string_view(p->m_strFilePath));
        }
        static std::u16string_view PathOf(std::u16string_view path) { return path; }
        static std::u16string_view PathOf(const CTNGFileData* p) { return p->m_strFilePath; }
        template <typename A, typename B>
        bool operator()(const A& a, const B& b) const {
            return PathOf(a) == PathOf(b);
        }
    };

    void MakeIndex() const TNG_REQUIRES(m_guard);
    std::uint32_t LoadRecords(TNGPathIndex* pPathIndex);
    void FindBlocksEnd();
    void DropForeignBlocks();
    void DropLoaded(TNGPathIndex* pPathIndex);
    std::int32_t MoveUnfinishedBack(int start);
    std::uint32_t WriteNewRecords(int start);

    std::int32_t m_nLastSaved = -1;   // index of the last record that the list file holds; -1: none
    std::int64_t m_nSavedBytes = -1;  // where these records end in the file; -1: at its end
    std::uint32_t m_nRewrites = 0;
    std::int64_t m_nBlocksEnd = 0;  // where the last block of a live record ends in the data file
    bool m_bOutOfReach = false;
    std::u16string m_strListFileName;
    CTNGFolderMap* m_pFolderMap;  // the owner
    const TNGFolderFiles& m_files;

    mutable TNGGuard m_guard;  // of the fields below
    mutable bool m_bIndexed TNG_GUARDED_BY(m_guard) = false;
    // The first record of each path; made by the first search.
    mutable std::unordered_set<CTNGFileData*, ByPath, ByPath> m_firstByPath TNG_GUARDED_BY(m_guard);
};

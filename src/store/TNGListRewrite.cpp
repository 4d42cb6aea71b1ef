#include "TNGListRewrite.h"

#include <cstring>
#include <memory>
#include <utility>

#include "common/TNGFileInfo.h"
#include "common/TNGThreshold.h"
#include "common/TNGTypes.h"
#include "locks/TNGAutoMutexPtr.h"
#include "locks/TNGFileLockRegistry.h"
#include "platform/Streams.h"
#include "store/TNGCachePaths.h"
#include "store/TNGDateTimeFile.h"
#include "store/TNGFolderFiles.h"
#include "store/TNGKeptFile.h"
#include "store/TNGRecordFile.h"
#include "store/TNGThumbnailLocation.h"

namespace {

bool Exists(const std::u16string& path) {
    return CTNGFileInfo::FindFileData(path.c_str(), nullptr, true);
}

std::int64_t SizeOfFile(const std::u16string& path) {
    Platform::WIN32_FIND_DATAW entry;
    if (!CTNGFileInfo::FindFileData(path.c_str(), &entry, false)) return 0;
    return static_cast<std::int64_t>(std::uint64_t{entry.nFileSizeHigh} << 32 | entry.nFileSizeLow);
}

// A compaction keeps the extra-large thumbnail of videos, and of pictures that are still large.
bool KeepsExtraLarge(const CTNGFileData& record) {
    if (record.m_eFileType == ASSET_TYPE_VIDEO) return true;
    Platform::WIN32_FIND_DATAW entry;
    return CTNGFileInfo::FindFileData(record.m_strFilePath.c_str(), &entry, false) && IsLargeFile(entry);
}

bool IsSameState(const CTNGFileData& a, const CTNGFileData& b) {
    return a.m_bDeleted == b.m_bDeleted && a.m_nExtraLargeOffset == b.m_nExtraLargeOffset &&
           a.m_nLargeOffset == b.m_nLargeOffset && a.m_nSmallOffset == b.m_nSmallOffset;
}

}  // namespace

TNGListRewrite::TNGListRewrite(const std::vector<CTNGFileData*>& records, const TNGFolderFiles& files,
                               const std::u16string& listPath, const std::u16string& dataFileName)
    : m_records(records),
      m_files(files),
      m_strListPath(listPath),
      m_strDataFileName(dataFileName),
      m_strDataPath(CachePath(dataFileName)),
      m_nDataBytes(SizeOfFile(m_strDataPath)) {}

std::uint32_t TNGListRewrite::Run(bool bCompact, bool bRewrite) {
    try {
        return RunPass(bCompact && Exists(m_strDataPath), bRewrite);
    } catch (...) {
        return QXTNG_ERROR_FILE_WRITE;
    }
}

std::uint32_t TNGListRewrite::RunPass(bool bCompact, bool bRewrite) {
    // New locations have to reach the list file together with the new data file.
    m_bNewList = bRewrite || bCompact;
    m_eListFailure = bRewrite ? QXTNG_ERROR_FILE_WRITE : QXTNG_ERROR_FAILED;
    const std::uint32_t result = WriteFiles(bCompact);
    return result == QXTNG_SUCCESS ? TakePlace(bCompact) : result;
}

// Under the lock of the data file, so that no block is appended to a file that goes, and no block is read by
// locations of the other file.
std::uint32_t TNGListRewrite::TakePlace(bool bCompact) {
    const TNGFileLock pLock = GetFileLockRegistry().GetFileLock(m_files.m_nDataFileKey, false);
    const CTNGAutoMutexPtr hold(bCompact ? pLock.get() : nullptr, true, TNG_LOCK_TIMEOUT_MS, bCompact);
    if (bCompact && (!hold.IsLocked() || SizeOfFile(m_strDataPath) != m_nDataBytes))
        return QXTNG_ERROR_FAILED;
    // Announced first: whoever comes after this process has been killed must look at the files again.
    SetCacheModifiedTime();
    if (m_bNewList && !m_newList.Replace(m_strListPath)) return QXTNG_ERROR_FILE_WRITE;
    if (bCompact) ++*m_files.m_pDataGeneration;
    if (bCompact && !m_newData.Replace(m_strDataPath)) return QXTNG_ERROR_FILE_WRITE;
    if (bCompact) s_keptDataFile.Close();  // the old one's room on the disk would stay taken
    if (bCompact) Publish();
    return QXTNG_SUCCESS;
}

std::uint32_t TNGListRewrite::WriteFiles(bool bCompact) {
    const std::u16string folder = s_strCacheFolder.Get();
    std::unique_ptr<ListFile> pList;
    if (m_bNewList) {
        m_newList.Make(folder);
        auto count = static_cast<std::int32_t>(m_records.size());
        std::int32_t bOpened = 0;
        pList = std::make_unique<ListFile>(m_newList.Path(), false, &count, &bOpened, false);
        if (!bOpened) return m_eListFailure;
    }
    if (bCompact) m_newData.Make(folder);
    if (const std::uint32_t result = WriteRecords(bCompact, pList.get()); result != QXTNG_SUCCESS)
        return result;
    if (!pList) return QXTNG_SUCCESS;
    pList->SetCount(m_nWritten);
    m_nListBytes = pList->Position();
    return pList->Close() ? QXTNG_SUCCESS : QXTNG_ERROR_FILE_WRITE;
}

std::uint32_t TNGListRewrite::WriteRecords(bool bCompact, ListFile* pList) {
    for (CTNGFileData* pRecord : m_records) {
        if (!bCompact) {
            if (!WriteRecord(*pRecord, pList)) return QXTNG_ERROR_FILE_WRITE;
            continue;
        }
        CTNGFileData after = *pRecord;
        const bool bHasBlock = after.m_eFileType == ASSET_TYPE_IMAGE || after.m_eFileType == ASSET_TYPE_VIDEO;
        const Fate fate = bHasBlock ? Compact(after) : Fate::Keep;
        if (fate == Fate::Fail) return QXTNG_ERROR_FAILED;
        if (fate == Fate::Keep && !WriteRecord(after, pList)) return QXTNG_ERROR_FILE_WRITE;
        if (!IsSameState(*pRecord, after)) m_outcomes.push_back({pRecord, std::move(after)});
    }
    return QXTNG_SUCCESS;
}

bool TNGListRewrite::WriteRecord(CTNGFileData& record, ListFile* pList) {
    if (!pList || record.m_bDeleted != 0) return true;
    pList->WriteRecord(&record);
    if (pList->Status() != FILE_WRITE_OK) return false;
    ++m_nWritten;
    return true;
}

TNGListRewrite::Fate TNGListRewrite::Compact(CTNGFileData& record) {
    if (record.m_strDataFileName != m_strDataFileName || record.m_bDeleted == 1) return Fate::Drop;
    if (HasNoThumbnail(record)) return Fate::Keep;
    const bool bKeepExtraLarge = KeepsExtraLarge(record);
    if (bKeepExtraLarge && !HasExtraLarge(record)) {
        record.m_bDeleted = 1;  // it will be made again, with the thumbnail that it lacks
        return Fate::Drop;
    }
    const Fate fate = CopyThumbnailBlock(record, bKeepExtraLarge);
    if (fate == Fate::Drop) record.m_bDeleted = 1;  // it is damaged, and will be made again, too
    return fate;
}

// What the status of a read that failed makes of its record. A file that was not even opened says nothing
// about its blocks.
TNGListRewrite::Fate TNGListRewrite::FateOfUnreadable(const CTNGDataFile& file) {
    if (file.IsOutOfReach()) return Fate::Fail;
    const TNGDataFileStatus eStatus = file.Status();
    return eStatus == DATA_FILE_READ_ERROR || eStatus == DATA_FILE_BAD_TRAILER ? Fate::Drop : Fate::Fail;
}

TNGListRewrite::Fate TNGListRewrite::CopyThumbnailBlock(CTNGFileData& record, bool bKeepExtraLarge) {
    const bool bExtraLarge = bKeepExtraLarge || record.m_eFileType == ASSET_TYPE_VIDEO;
    const auto isPossible = [this](std::int32_t size) { return size > 0 && size <= m_nDataBytes; };
    if (bExtraLarge && !isPossible(record.m_nExtraLargeSize)) return Fate::Drop;
    if (!isPossible(record.m_nLargeSize) || !isPossible(record.m_nSmallSize)) return Fate::Drop;
    if (!m_newData.IsMade()) return Fate::Fail;

    CTNGDataFile file;
    const std::uint32_t key = m_files.m_nDataFileKey;
    std::vector<std::uint8_t> extraLarge(bExtraLarge ? static_cast<std::size_t>(record.m_nExtraLargeSize)
                                                     : 0);
    std::vector<std::uint8_t> large(static_cast<std::size_t>(record.m_nLargeSize));
    std::vector<std::uint8_t> small(static_cast<std::size_t>(record.m_nSmallSize));
    TNGBlockTrailer trailer;
    if (bExtraLarge && file.ReadBlock(m_strDataPath, key, record.m_nExtraLargeOffset,
                                      record.m_nExtraLargeSize, extraLarge.data()) != 0) {
        return FateOfUnreadable(file);
    }
    if (file.ReadBlock(m_strDataPath, key, record.m_nLargeOffset, record.m_nLargeSize, large.data()) != 0)
        return FateOfUnreadable(file);
    const std::int64_t trailerOffset = std::int64_t{record.m_nSmallOffset} + record.m_nSmallSize;
    if (trailerOffset > m_nDataBytes) return Fate::Drop;
    if (file.ReadBlockChecked(m_strDataPath, key, record.m_nSmallOffset, record.m_nSmallSize,
                              static_cast<std::int32_t>(trailerOffset), &trailer, small.data()) != 0) {
        return FateOfUnreadable(file);
    }
    const std::int64_t nBlockBytes = std::int64_t{bExtraLarge ? record.m_nExtraLargeSize : 0} +
                                     record.m_nLargeSize + record.m_nSmallSize + std::int64_t{sizeof trailer};
    if (!KeepFromMistakes(record, nBlockBytes)) return Fate::Fail;
    const std::int32_t offset = file.AppendBlock(
        m_newData.Path(), key, trailer, {bExtraLarge ? extraLarge.data() : nullptr, record.m_nExtraLargeSize},
        {large.data(), record.m_nLargeSize}, {small.data(), record.m_nSmallSize});
    if (offset < 0) return Fate::Fail;
    m_nNewDataBytes = offset + nBlockBytes;
    SetThumbnailLocations(record, false, offset, bExtraLarge, record.m_nExtraLargeSize, record.m_nLargeSize,
                          record.m_nSmallSize);
    return Fate::Keep;
}

// The two files take their places one after the other. A process that dies in between leaves new locations to
// the old data file, where none of them may find the trailer of another block: that would be another picture.
// A block that would lie so is put one byte further: no trailer begins a byte behind another one.
bool TNGListRewrite::KeepFromMistakes(const CTNGFileData& record, std::int64_t nBlockBytes) {
    const std::int64_t oldTrailer = std::int64_t{record.m_nSmallOffset} + record.m_nSmallSize;
    const std::int64_t newTrailer = m_nNewDataBytes + nBlockBytes - std::int64_t{sizeof(TNGBlockTrailer)};
    if (newTrailer == oldTrailer) return true;  // it finds its own
    bool bMistaken = false;
    return IsOldTrailerAt(newTrailer, &bMistaken) && (!bMistaken || WriteDeadByte());
}

// Whether the old data file has a trailer there. False if that cannot be found out.
bool TNGListRewrite::IsOldTrailerAt(std::int64_t nOffset, bool* pbTrailer) {
    TNGBlockTrailer found;
    *pbTrailer = false;
    if (nOffset + std::int64_t{sizeof found} > m_nDataBytes) return true;
    std::uint8_t bytes[sizeof found];
    if (CTNGDataFile().ReadBlock(m_strDataPath, m_files.m_nDataFileKey, static_cast<std::int32_t>(nOffset),
                                 sizeof bytes, bytes) != 0) {
        return false;
    }
    std::memcpy(&found, bytes, sizeof found);
    *pbTrailer = IsValidTrailer(found);
    return true;
}

bool TNGListRewrite::WriteDeadByte() {
    std::FILE* pFile = nullptr;
    if (Platform::_wfopen_s(&pFile, m_newData.Path().c_str(), "a+b") != 0) return false;
    std::fputc(0xFF, pFile);
    return Platform::CloseStream(pFile);
}

void TNGListRewrite::Publish() {
    for (Outcome& outcome : m_outcomes) {
        CTNGFileData& record = *outcome.pRecord;
        record.m_bDeleted = outcome.after.m_bDeleted;
        record.m_nVersion = outcome.after.m_nVersion;
        record.m_nExtraLargeOffset = outcome.after.m_nExtraLargeOffset;
        record.m_nLargeOffset = outcome.after.m_nLargeOffset;
        record.m_nSmallOffset = outcome.after.m_nSmallOffset;
    }
}

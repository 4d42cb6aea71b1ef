#include "TNGListRewrite.h"

#include <memory>
#include <utility>

#include "common/TNGFileInfo.h"
#include "common/TNGThreshold.h"
#include "common/TNGTypes.h"
#include "locks/TNGAutoMutexPtr.h"
#include "locks/TNGFileLockRegistry.h"
#include "platform/FileOperations.h"
#include "platform/Streams.h"
#include "store/TNGCachePaths.h"
#include "store/TNGFolderFileKeys.h"
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

// What a new data file may begin with, so that its blocks lie otherwise than those of the old one.
constexpr int kMostDeadBytes = 16;

// A compaction keeps the extra-large thumbnail of videos, and of pictures that are still large.
bool KeepsExtraLarge(const CTNGFileData& record) {
    if (record.m_eFileType == ASSET_TYPE_VIDEO) return true;
    Platform::WIN32_FIND_DATAW entry;
    return CTNGFileInfo::FindFileData(record.m_strFilePath.c_str(), &entry, false) && IsLargeFile(entry);
}

}  // namespace

TNGTemporaryFile::~TNGTemporaryFile() {
    if (IsMade()) Platform::DeleteFileW(m_strPath.c_str());
}

void TNGTemporaryFile::Make() {
    if (IsMade()) Platform::DeleteFileW(m_strPath.c_str());
    m_strPath.clear();
    char16_t path[Platform::MAX_PATH];
    if (Platform::GetTempFileNameW(s_strCacheFolder.Get().c_str(), u"Temp", 0, path) != 0) m_strPath = path;
}

bool TNGTemporaryFile::Replace(const std::u16string& target) {
    if (Platform::_wrename(m_strPath.c_str(), target.c_str()) != 0) return false;
    m_strPath.clear();
    return true;
}

TNGListRewrite::TNGListRewrite(const std::vector<CTNGFileData*>& records, const TNGFolderFileKeys& keys,
                               const std::u16string& listPath, const std::u16string& dataFileName)
    : m_records(records),
      m_keys(keys),
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
    for (int deadBytes = 0; deadBytes < kMostDeadBytes; ++deadBytes) {
        const std::uint32_t result = WriteFiles(bCompact, deadBytes);
        if (result != QXTNG_SUCCESS) return result;
        if (bCompact && CouldBeMistaken()) continue;
        return TakePlace(bCompact);
    }
    return QXTNG_ERROR_FAILED;
}

// Under the lock of the data file, so that no block is appended to a file that goes, and no block is read by
// locations of the other file.
std::uint32_t TNGListRewrite::TakePlace(bool bCompact) {
    const TNGFileLock pLock = GetFileLockRegistry().GetFileLock(m_keys.m_nDataFileKey, false);
    const CTNGAutoMutexPtr hold(bCompact ? pLock.get() : nullptr, true, TNG_LOCK_TIMEOUT_MS, bCompact);
    if (bCompact && (!hold.IsLocked() || SizeOfFile(m_strDataPath) != m_nDataBytes))
        return QXTNG_ERROR_FAILED;
    if (m_bNewList && !m_newList.Replace(m_strListPath)) return QXTNG_ERROR_FILE_WRITE;
    if (bCompact) ++*m_keys.m_pDataGeneration;
    if (bCompact && !m_newData.Replace(m_strDataPath)) return QXTNG_ERROR_FILE_WRITE;
    Publish();
    return QXTNG_SUCCESS;
}

std::uint32_t TNGListRewrite::WriteFiles(bool bCompact, int deadBytes) {
    m_outcomes.clear();
    m_nWritten = 0;
    std::unique_ptr<ListFile> pList;
    if (m_bNewList) {
        m_newList.Make();
        auto count = static_cast<std::int32_t>(m_records.size());
        std::int32_t bOpened = 0;
        pList = std::make_unique<ListFile>(m_newList.Path(), false, &count, &bOpened, false);
        if (!bOpened) return m_eListFailure;
    }
    if (bCompact) {
        m_newData.Make();
        if (!WriteDeadBytes(deadBytes)) return QXTNG_ERROR_FAILED;
    }
    if (const std::uint32_t result = WriteRecords(bCompact, pList.get()); result != QXTNG_SUCCESS)
        return result;
    if (!pList) return QXTNG_SUCCESS;
    pList->SetCount(m_nWritten);
    m_nListBytes = pList->Position();
    return pList->Close() ? QXTNG_SUCCESS : QXTNG_ERROR_FILE_WRITE;
}

bool TNGListRewrite::WriteDeadBytes(int nBytes) {
    std::FILE* pFile = nullptr;
    if (nBytes == 0 || !m_newData.IsMade()) return true;
    if (Platform::_wfopen_s(&pFile, m_newData.Path().c_str(), "wb") != 0) return false;
    for (int i = 0; i < nBytes; ++i)
        std::fputc(0xFF, pFile);
    return Platform::CloseStream(pFile);
}

// The two files take their places one after the other. A process that dies in between leaves new locations to
// the old data file, where none of them may find the trailer of another block: that would be another picture.
bool TNGListRewrite::CouldBeMistaken() {
    CTNGDataFile file;
    for (const Outcome& outcome : m_outcomes) {
        const CTNGFileData& after = outcome.after;
        const bool bMoved = after.m_nSmallOffset != outcome.pRecord->m_nSmallOffset;
        if (!bMoved || after.m_bDeleted != 0 || after.m_nSmallOffset < 0) continue;
        TNGBlockTrailer trailer;
        std::uint8_t byte = 0;
        if (file.ReadBlockChecked(m_strDataPath, m_keys.m_nDataFileKey, after.m_nSmallOffset, 1,
                                  after.m_nSmallOffset + after.m_nSmallSize, &trailer, &byte) == 0) {
            return true;
        }
    }
    return false;
}

std::uint32_t TNGListRewrite::WriteRecords(bool bCompact, ListFile* pList) {
    m_outcomes.reserve(m_records.size());
    for (CTNGFileData* pRecord : m_records) {
        CTNGFileData after = *pRecord;
        const bool bHasBlock = after.m_eFileType == ASSET_TYPE_IMAGE || after.m_eFileType == ASSET_TYPE_VIDEO;
        const Fate fate = bCompact && bHasBlock ? Compact(after) : Fate::Keep;
        if (fate == Fate::Fail) return QXTNG_ERROR_FAILED;
        if (fate == Fate::Keep && pList && after.m_bDeleted == 0) {
            pList->WriteRecord(&after);
            if (pList->Status() != FILE_WRITE_OK) return QXTNG_ERROR_FILE_WRITE;
            ++m_nWritten;
        }
        m_outcomes.push_back({pRecord, std::move(after)});
    }
    return QXTNG_SUCCESS;
}

TNGListRewrite::Fate TNGListRewrite::Compact(CTNGFileData& record) {
    if (record.m_strDataFileName != m_strDataFileName || record.m_bDeleted == 1) return Fate::Drop;
    if (HasNoThumbnail(record)) return Fate::Keep;
    const bool bKeepExtraLarge = KeepsExtraLarge(record);
    if (bKeepExtraLarge && !HasExtraLarge(record)) {
        record.m_bDeleted = 1;  // it will be made again, with the thumbnail that it lacks
        return Fate::Drop;
    }
    return CopyThumbnailBlock(record, bKeepExtraLarge) ? Fate::Keep : Fate::Fail;
}

bool TNGListRewrite::CopyThumbnailBlock(CTNGFileData& record, bool bKeepExtraLarge) {
    const bool bExtraLarge = bKeepExtraLarge || record.m_eFileType == ASSET_TYPE_VIDEO;
    const auto isPossible = [this](std::int32_t size) { return size > 0 && size <= m_nDataBytes; };
    if (bExtraLarge && !isPossible(record.m_nExtraLargeSize)) return false;
    if (!isPossible(record.m_nLargeSize) || !isPossible(record.m_nSmallSize)) return false;
    if (!m_newData.IsMade()) return false;

    CTNGDataFile file;
    const std::uint32_t key = m_keys.m_nDataFileKey;
    std::vector<std::uint8_t> extraLarge(bExtraLarge ? static_cast<std::size_t>(record.m_nExtraLargeSize)
                                                     : 0);
    std::vector<std::uint8_t> large(static_cast<std::size_t>(record.m_nLargeSize));
    std::vector<std::uint8_t> small(static_cast<std::size_t>(record.m_nSmallSize));
    TNGBlockTrailer trailer;
    if (bExtraLarge && file.ReadBlock(m_strDataPath, key, record.m_nExtraLargeOffset,
                                      record.m_nExtraLargeSize, extraLarge.data()) != 0) {
        return false;
    }
    if (file.ReadBlock(m_strDataPath, key, record.m_nLargeOffset, record.m_nLargeSize, large.data()) != 0)
        return false;
    const std::int64_t trailerOffset = std::int64_t{record.m_nSmallOffset} + record.m_nSmallSize;
    if (trailerOffset > m_nDataBytes) return false;
    if (file.ReadBlockChecked(m_strDataPath, key, record.m_nSmallOffset, record.m_nSmallSize,
                              static_cast<std::int32_t>(trailerOffset), &trailer, small.data()) != 0) {
        return false;
    }
    const std::int32_t offset = file.AppendBlock(
        m_newData.Path(), key, trailer, {bExtraLarge ? extraLarge.data() : nullptr, record.m_nExtraLargeSize},
        {large.data(), record.m_nLargeSize}, {small.data(), record.m_nSmallSize});
    if (offset < 0) return false;
    SetThumbnailLocations(record, false, offset, bExtraLarge, record.m_nExtraLargeSize, record.m_nLargeSize,
                          record.m_nSmallSize);
    return true;
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

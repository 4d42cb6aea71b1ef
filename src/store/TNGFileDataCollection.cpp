#include "TNGFileDataCollection.h"

#include <algorithm>

#include "common/TNGFileInfo.h"
#include "common/TNGTypes.h"
#include "locks/TNGLockHold.h"
#include "store/TNGCachePaths.h"
#include "store/TNGFields.h"
#include "store/TNGListRewrite.h"
#include "store/TNGRecordFile.h"
#include "store/TNGThumbnailLocation.h"

namespace {

constexpr std::int64_t kLeastRecordBytes = 60;  // version 1, with empty texts

}  // namespace

CTNGFileDataCollection::CTNGFileDataCollection(CTNGFolderMap* pFolderMap, const TNGFolderFiles& files)
    : m_pFolderMap(pFolderMap), m_files(files) {}

CTNGFileDataCollection::~CTNGFileDataCollection() {
    if (!m_strListFileName.empty()) GetFileLockRegistry().RemoveFileLock(m_files.m_nListFileKey, true);
}

TNGFileLock CTNGFileDataCollection::GetListLock() const {
    if (m_strListFileName.empty()) return nullptr;
    return GetFileLockRegistry().GetFileLock(m_files.m_nListFileKey, true);
}

void CTNGFileDataCollection::AddItem(std::unique_ptr<CTNGFileData> pRecord) {
    m_pItems->push_back(pRecord.get());
    CTNGFileData* const pAdded = pRecord.release();
    const TNGGuardLock lock(m_guard);
    if (m_bIndexed) m_firstByPath.insert(pAdded);
}

void CTNGFileDataCollection::ClearItems() {
    const TNGGuardLock lock(m_guard);
    m_firstByPath.clear();
    m_bIndexed = false;
    m_nBlocksEnd = 0;
    DestroyItems();
}

// Most lists are loaded to be read by way of the path index, and never searched themselves.
void CTNGFileDataCollection::MakeIndex() const {
    if (m_bIndexed) return;
    m_firstByPath.reserve(m_pItems->size());
    m_firstByPath.insert(m_pItems->begin(), m_pItems->end());
    m_bIndexed = true;
}

int CTNGFileDataCollection::FindRecord(std::u16string_view path, CTNGFileData** ppRecord) const {
    const TNGGuardLock lock(m_guard);
    MakeIndex();
    const auto found = m_firstByPath.find(path);
    if (found == m_firstByPath.end()) return 0;
    *ppRecord = *found;
    return 1;
}

int CTNGFileDataCollection::RemoveRecord(std::u16string_view path) {
    const TNGGuardLock lock(m_guard);
    MakeIndex();
    const auto found = m_firstByPath.find(path);
    if (found == m_firstByPath.end()) return 0;
    const std::unique_ptr<CTNGFileData> pRecord(*found);
    const bool bHasTwins = m_firstByPath.size() < m_pItems->size();
    m_firstByPath.erase(found);
    const auto place = std::ranges::find(*m_pItems, pRecord.get());
    // The file holds it: what is appended next would not go with what is there.
    if (m_nSavedBytes < 0 || place - m_pItems->begin() <= m_nLastSaved) m_nLastSaved = -1;
    const auto next = m_pItems->erase(place);
    if (!bHasTwins) return 1;
    const auto twin = std::find_if(next, m_pItems->end(), [&](const CTNGFileData* p) {
        return p->m_strFilePath == pRecord->m_strFilePath;
    });
    if (twin != m_pItems->end()) m_firstByPath.insert(*twin);
    return 1;
}

std::uint32_t CTNGFileDataCollection::LoadList(const std::u16string& name, TNGPathIndex* pPathIndex) {
    m_strListFileName = name;
    const TNGLockHold hold(GetListLock(), true);
    m_bOutOfReach = !hold.IsHeld();
    if (m_bOutOfReach) return QXTNG_ERROR_LOCK_FAILED;
    ClearItems();
    std::uint32_t result = QXTNG_ERROR_FAILED;
    try {
        result = LoadRecords(pPathIndex);
    } catch (const TNGTextTooLong&) {
        result = QXTNG_ERROR_FAILED;
    } catch (...) {
        m_bOutOfReach = true;
    }
    if (result != QXTNG_SUCCESS) DropLoaded(pPathIndex);
    return result;
}

void CTNGFileDataCollection::NoteBlock(const CTNGFileData& record) {
    m_nBlocksEnd = std::max(m_nBlocksEnd, EndOfBlock(record));
}

void CTNGFileDataCollection::FindBlocksEnd() {
    m_nBlocksEnd = 0;
    for (const CTNGFileData* pRecord : *m_pItems)
        NoteBlock(*pRecord);
}

// The name of a data file in a record may be damaged: it must not lead to another file.
void CTNGFileDataCollection::DropForeignBlocks() {
    for (CTNGFileData* pRecord : *m_pItems) {
        if (HasBlock(*pRecord) && pRecord->m_strDataFileName != m_files.m_strDataFileName)
            pRecord->m_bDeleted = 1;
    }
}

// What is appended to a data file that has lost its end would come to lie where records look for theirs.
bool CTNGFileDataCollection::DropLostBlocks() {
    if (m_nBlocksEnd == 0) return false;
    Platform::WIN32_FIND_DATAW entry;
    CTNGFileInfo::FindFileData(CachePath(m_files.m_strDataFileName).c_str(), &entry, false);
    const auto end = static_cast<std::int64_t>(std::uint64_t{entry.nFileSizeHigh} << 32 | entry.nFileSizeLow);
    if (end >= m_nBlocksEnd) return false;
    for (CTNGFileData* pRecord : *m_pItems) {
        if (EndOfBlock(*pRecord) > end) pRecord->m_bDeleted = 1;
    }
    FindBlocksEnd();
    m_nLastSaved = -1;
    return true;
}

std::uint32_t CTNGFileDataCollection::LoadRecords(TNGPathIndex* pPathIndex) {
    std::int32_t count = 0;
    std::int32_t bOpened = 0;
    CTNGRecordFile<CTNGFileData> file(CachePath(m_strListFileName), true, &count, &bOpened, false);
    const auto failed = [&] {
        m_bOutOfReach = file.IsOutOfReach();
        return m_bOutOfReach ? QXTNG_ERROR_FAILED : QXTNG_ERROR_FILE_READ;
    };
    if (!bOpened) return failed();
    m_nLastSaved = -1;
    if (count > 0)
        m_pItems->reserve(
            static_cast<std::size_t>(std::min<std::int64_t>(count, file.BytesLeft() / kLeastRecordBytes)));
    for (; file.CanReadOn() && count > 0; --count) {
        auto pRecord = std::make_unique<CTNGFileData>();
        file.ReadRecord(pRecord.get());
        if (file.Status() != FILE_READ_OK) return failed();
        ++m_nLastSaved;
        pRecord->m_pFolderMap = m_pFolderMap;
        AddItem(std::move(pRecord));
    }
    if (file.IsOutOfReach()) return failed();
    m_nSavedBytes = file.Position();
    // Nothing can follow a record that is cut off: the next append writes the list anew.
    if (file.IsEof()) m_nLastSaved = -1;
    DropForeignBlocks();
    FindBlocksEnd();
    DropLostBlocks();
    for (CTNGFileData* pRecord : *m_pItems) {
        if (pPathIndex && pRecord->m_bDeleted != 1) (*pPathIndex)[pRecord->m_strFilePath] = pRecord;
    }
    return QXTNG_SUCCESS;
}

void CTNGFileDataCollection::DropLoaded(TNGPathIndex* pPathIndex) {
    m_nLastSaved = -1;
    if (pPathIndex) {
        for (const CTNGFileData* pRecord : *m_pItems)
            pPathIndex->erase(pRecord->m_strFilePath);
    }
    ClearItems();
}

std::uint32_t CTNGFileDataCollection::AppendNewRecords() {
    if (m_nLastSaved + 1 >= GetCount()) return QXTNG_ERROR_FILE_WRITE;
    const TNGLockHold hold(GetListLock(), true);
    if (!hold.IsHeld()) return QXTNG_ERROR_LOCK_FAILED;
    const int start = m_nLastSaved + 1;
    if (start >= GetCount()) return QXTNG_ERROR_FILE_WRITE;  // saved meanwhile
    try {
        return WriteNewRecords(start);
    } catch (...) {
        m_nLastSaved = -1;
        return QXTNG_ERROR_FILE_WRITE;
    }
}

// What is still being made goes with a later batch, and must not keep back what is behind it. How many
// records stand before it then.
std::int32_t CTNGFileDataCollection::MoveUnfinishedBack(int start) {
    const auto isFinished = [](const CTNGFileData* pRecord) { return pRecord->m_pAddition.expired(); };
    const auto first = std::find_if_not(m_pItems->begin() + start, m_pItems->end(), isFinished);
    if (first == m_pItems->end()) return GetCount();
    const auto unfinished = std::stable_partition(first, m_pItems->end(), isFinished);
    const TNGGuardLock lock(m_guard);
    if (m_firstByPath.size() < m_pItems->size()) {  // of twins the first may be another one now
        m_firstByPath.clear();
        m_bIndexed = false;
    }
    return static_cast<std::int32_t>(unfinished - m_pItems->begin());
}

std::uint32_t CTNGFileDataCollection::WriteNewRecords(int start) {
    std::int32_t count = MoveUnfinishedBack(start);
    if (count == start) return QXTNG_ERROR_FILE_WRITE;
    std::int32_t bOpened = 0;
    CTNGRecordFile<CTNGFileData> file(CachePath(m_strListFileName), false, &count, &bOpened, start != 0,
                                      m_nSavedBytes, start);
    if (!bOpened) return QXTNG_ERROR_FILE_WRITE;
    for (int i = start; i < count && file.Status() == FILE_WRITE_OK; ++i)
        file.WriteRecord(GetAt(i));
    const std::int64_t end = file.Position();
    if (!file.Close()) {
        m_nLastSaved = -1;
        return QXTNG_ERROR_FILE_WRITE;
    }
    m_nLastSaved = count - 1;
    m_nSavedBytes = end;
    return QXTNG_SUCCESS;
}

std::uint32_t CTNGFileDataCollection::SaveList(bool bCompact, const std::u16string& dataFileName,
                                               bool bRewrite) {
    if (!bCompact && !bRewrite) return QXTNG_SUCCESS;
    const TNGLockHold hold(GetListLock(), true);
    if (!hold.IsHeld()) return QXTNG_ERROR_LOCK_FAILED;
    TNGListRewrite rewrite(*m_pItems, m_files, CachePath(m_strListFileName), dataFileName);
    m_nLastSaved = -1;
    m_nSavedBytes = -1;
    const std::uint32_t result = rewrite.Run(bCompact, bRewrite);
    if (result == QXTNG_SUCCESS && rewrite.HasNewList()) {
        m_nLastSaved = rewrite.RecordsWritten() - 1;
        m_nSavedBytes = rewrite.ListBytes();
        ++m_nRewrites;
        FindBlocksEnd();
    }
    return result;
}

void CTNGFileDataCollection::ResetList(bool bDeleteFile) {
    {
        const TNGLockHold hold(GetListLock(), true);
        if (!hold.IsHeld()) return;
        ClearItems();
    }
    if (bDeleteFile) {
        m_files.DeleteListFile();
        GetFileLockRegistry().RemoveFileLock(m_files.m_nListFileKey, true);
    }
    m_nLastSaved = -1;
}

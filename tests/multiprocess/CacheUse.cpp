#include "CacheUse.h"

#include "api/TNGMgr.h"
#include "database/TNGAddition.h"
#include "locks/TNGAutoMutexPtr.h"
#include "store/StoreFixture.h"
#include "store/TNGCachePaths.h"

namespace CacheUse {

// The exports hand their managers to nobody.
std::unique_ptr<CTNGDBMgr>& Inside(CTNGMgr&);
std::unique_ptr<CTNGSharedDataMgr>& Inside(CTNGDBMgr&);
std::atomic<TNGDBState>& StateInside(CTNGDBMgr&);

template <auto pField>
struct MgrField {
    friend std::unique_ptr<CTNGDBMgr>& Inside(CTNGMgr& mgr) { return mgr.*pField; }
};
template <auto pField>
struct DBMgrField {
    friend std::unique_ptr<CTNGSharedDataMgr>& Inside(CTNGDBMgr& mgr) { return mgr.*pField; }
};
template <auto pField>
struct DBMgrState {
    friend std::atomic<TNGDBState>& StateInside(CTNGDBMgr& mgr) { return mgr.*pField; }
};
template struct MgrField<&CTNGMgr::m_pDBMgr>;
template struct DBMgrField<&CTNGDBMgr::m_pSharedData>;
template struct DBMgrState<&CTNGDBMgr::m_eDBState>;

namespace {

std::u16string DataPath(const CTNGFileData& record) {
    return CachePath(record.m_strDataFileName);
}

std::int32_t AppendBlock(const CTNGFileData& record, int number) {
    const StoreTest::Bytes large = StoreTest::Thumbnail(LengthOf(number), number);
    return CTNGDataFile().AppendBlock(DataPath(record), CTNGFileInfo::GetHashCode(DataPath(record)), {}, {},
                                      {large.data(), LengthOf(number)}, {large.data(), 20});
}

void MakeLive(CTNGFileData& live, std::int32_t offset, int number) {
    live.m_eFileType = ASSET_TYPE_IMAGE;
    live.m_nOriginalWidth = static_cast<std::uint32_t>(number);
    SetThumbnailLocations(live, false, offset, false, 0, LengthOf(number), 20);
    live.m_bDeleted = 0;
    s_bCacheDirty = true;
    ++s_nPendingAdds;
}

bool FlushUnderLock() {
    if (SharedData().AppendNewThumbnails() != QXTNG_SUCCESS) return false;
    s_nPendingAdds = 0;
    SetCacheModifiedTime();
    return true;
}

}  // namespace

CTNGDBMgr& DBMgr() {
    return *Inside(CTNGMgr::GetInstance());
}

CTNGSharedDataMgr& SharedData() {
    return *Inside(DBMgr());
}

bool Add(const std::u16string& path, int number) {
    DBMgr().CheckAndLoadDataBase(path.c_str(), true);
    CTNGAutoMutexPtr shared(SharedData().GetSharedMutex(), true, TNG_LOCK_TIMEOUT_MS, true);
    CTNGFileData* pRecord = nullptr;
    int eOperation = 0;
    bool bNew = false;
    if (!shared.IsLocked() || !SharedData().AddFileData(path, &pRecord, &eOperation, &bNew)) return false;
    SharedData().UpdateIndex(pRecord, eOperation);
    if (DBMgr().State() == TNG_DB_NOT_LOADED) StateInside(DBMgr()) = TNG_DB_LOADED;
    const CTNGFileData copy = *pRecord;
    shared.Release();
    const std::int32_t offset = AppendBlock(copy, number);
    if (offset < 0 || !shared.GetLocked(true)) return false;
    CTNGFileData* const pLive = SharedData().FindItem(path);
    if (!pLive || pLive->m_strDataFileName != copy.m_strDataFileName) return true;  // gone meanwhile
    MakeLive(*pLive, offset, number);
    return !bNew || FlushUnderLock();
}

bool Flush() {
    const CTNGAutoMutexPtr shared(SharedData().GetSharedMutex(), true, TNG_LOCK_TIMEOUT_MS, true);
    return shared.IsLocked() && FlushUnderLock();
}

int Look(const std::u16string& path) {
    CTNGFileData record;
    if (DBMgr().CheckAndLoadDataBase(path.c_str(), true) != QXTNG_SUCCESS) return kNone;
    if (!DBMgr().IsFileCached(path, &record)) return kNone;
    const int number = static_cast<int>(record.m_nOriginalWidth);
    std::int32_t offset = 0, size = 0, trailerOffset = 0;
    GetThumbnailLocation(record, TNG_LARGE_BOX, &offset, &size, &trailerOffset);
    if (size != LengthOf(number)) return kTorn;
    StoreTest::Bytes bytes(static_cast<std::size_t>(size));
    TNGBlockTrailer trailer;
    const std::uint32_t key = CTNGFileInfo::GetHashCode(DataPath(record));
    const bool bRead = CTNGDataFile().ReadBlockChecked(DataPath(record), key, offset, size, trailerOffset,
                                                       &trailer, bytes.data()) == 0;
    return bRead && bytes == StoreTest::Thumbnail(size, number) ? number : kTorn;
}

std::uint32_t Delete(const std::u16string& path) {
    DBMgr().CheckAndLoadDataBase(path.c_str(), true);
    const std::uint32_t result = SharedData().DeleteFileData(path, true);
    if (result == QXTNG_SUCCESS) SetCacheModifiedTime();
    return result;
}

// The index is written as well, or it would go on listing the folder.
std::uint32_t DeleteFolder(const std::u16string& folder) {
    DBMgr().CheckAndLoadDataBase(folder.c_str(), false);
    const std::uint32_t result = SharedData().DeleteFolder(folder);
    return result == QXTNG_SUCCESS && !Flush() ? QXTNG_ERROR_FAILED : result;
}

}  // namespace CacheUse

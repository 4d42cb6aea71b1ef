#include "CacheUse.h"

#include "api/TNGMgr.h"
#include "locks/TNGAutoMutexPtr.h"
#include "shared/FinishAddition.h"

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

CTNGDBMgr& DBMgr() {
    return *Inside(CTNGMgr::GetInstance());
}

CTNGSharedDataMgr& SharedData() {
    return *Inside(DBMgr());
}

bool Add(const std::u16string& path, int number) {
    DBMgr().CheckAndLoadDataBase(path.c_str(), true);
    CTNGAddition addition(SharedData(), StateInside(DBMgr()), path);
    return addition.HasLock() && addition.Begin() &&
           StoreTest::FinishAddition(addition, StoreTest::Thumbnail(LengthOf(number), number),
                                     static_cast<std::uint32_t>(number));
}

bool Flush() {
    const CTNGAutoMutexPtr shared(SharedData().GetSharedMutex(), true, TNG_LOCK_TIMEOUT_MS, true);
    if (!shared.IsLocked() || SharedData().AppendNewThumbnails() != QXTNG_SUCCESS) return false;
    s_nPendingAdds = 0;
    SetCacheModifiedTime();
    return true;
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
    const std::u16string data = CachePath(record.m_strDataFileName);
    const bool bRead = CTNGDataFile().ReadBlockChecked(data, CTNGFileInfo::GetHashCode(data), offset, size,
                                                       trailerOffset, &trailer, bytes.data()) == 0;
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

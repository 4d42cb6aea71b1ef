// Changing the cache as a whole while threads are at work in it: its state, its folder.

#include "TNGDBMgr.h"
#include "common/TNGFileInfo.h"
#include "common/TNGLog.h"
#include "locks/TNGCacheEntry.h"
#include "platform/Files.h"
#include "store/TNGKeptFile.h"

namespace {

constexpr char16_t s_szLogSource[] = u"TNGDBMgr";

constexpr std::uint32_t kWait = 1000;  // ms, for workers to leave
constexpr std::int32_t kOwnHold = 1;   // readers left when they have

// Empties the cache of workers for a scope. The lines of the log begin with the operation's name.
class Abandonment {
  public:
    explicit Abandonment(const char16_t* pszOperation) : m_strOperation(pszOperation) {
        Log(u", called threads to abandoned");
    }
    ~Abandonment() {
        m_abandon.End();
        Log(u", called threads to be abandon free");
    }
    Abandonment(const Abandonment&) = delete;
    Abandonment& operator=(const Abandonment&) = delete;

    /// Under the client's hold workers have none of their own: they are waited for, but not insisted on.
    bool WaitForWorkers(const CTNGCacheEntry& entry) const {
        if (!entry.HasOwnHold()) {
            entry.Mutex().WaitUntilJoinedHaveLeft(kWait, kOwnHold);
            return true;
        }
        Log(u", Wait for Cache Mutex to be free");
        const bool bFree = entry.Mutex().WaitUntilCacheMutexFree(kWait, kOwnHold);
        Log(bFree ? u", Wait over for Cache Mutex" : u", Wait failed for Cache Mutex");
        return bFree;
    }

  private:
    void Log(const char16_t* pszText) const {
        try {
            TNG_LOG(TNG_LOG_INFO, (m_strOperation + pszText).c_str());
        } catch (...) {
            return;
        }
    }

    std::u16string m_strOperation;
    CTNGAbandonScope m_abandon;
};

}  // namespace

std::uint32_t CTNGDBMgr::SetCacheEnabled(bool bEnable) {
    if (IsCacheEnabled() == bEnable) return QXTNG_SUCCESS;
    const std::scoped_lock change(m_change);
    if (IsCacheEnabled() == bEnable) return QXTNG_SUCCESS;
    if (!s_pCacheMutex.Get()) return EnableOrDisable(bEnable);

    const CTNGCacheEntry entry(u"CTNGDBMgr::SetCacheEnabled", s_szLogSource);
    if (!entry.IsIn()) {
        TNG_LOG(TNG_LOG_INFO, u"CTNGDBMgr::SetCacheEnabled, unable to lock cache");
        return QXTNG_ERROR_CACHE_LOCKED;
    }
    if (IsCacheEnabled()) SynchronizeIfLoaded();
    const Abandonment abandonment(u"CTNGDBMgr::SetCacheEnabled");
    if (!abandonment.WaitForWorkers(entry)) return QXTNG_ERROR_LOCK_FAILED;
    const std::uint32_t result = EnableOrDisable(bEnable);
    if (!bEnable) {
        SetCacheModifiedTime();
        CloseKeptFiles();
    }
    return result;
}

std::uint32_t CTNGDBMgr::EnableOrDisable(bool bEnable) {
    const std::uint32_t result = m_pSharedData->SetCacheEnabled(bEnable);
    if (result == QXTNG_SUCCESS && !bEnable) m_eDBState = TNG_DB_NOT_LOADED;
    return result;
}

std::uint32_t CTNGDBMgr::SetCacheFolder(const std::u16string& folder) {
    const std::scoped_lock change(m_change);
    std::shared_ptr<CTNGCacheMutex> pMutex;
    GenerateCacheMutex(folder, &pMutex);
    const std::shared_ptr<CTNGCacheMutex> pOldMutex = s_pCacheMutex.Get();
    if (!pOldMutex || !pOldMutex->IsUsable()) {
        EnterNewFolder(folder, pMutex);
        return QXTNG_SUCCESS;
    }
    if (!pMutex->IsUsable()) return QXTNG_ERROR_FAILED;  // before anything is moved
    CTNGCacheEntry entry(u"CTNGDBMgr::SetCacheFolder", s_szLogSource);
    if (!entry.IsIn()) return QXTNG_ERROR_CACHE_LOCKED;
    SynchronizeIfLoaded();
    if (const std::uint32_t result = LoadIndexForMove(); result != QXTNG_SUCCESS) return result;
    if (m_pSharedData->IsIndexUnread()) return QXTNG_ERROR_FAILED;  // not all of it would move

    const Abandonment abandonment(u"CTNGDBMgr::SetCacheFolder");
    if (!abandonment.WaitForWorkers(entry)) return QXTNG_ERROR_FAILED;
    if (!LeaveOldFolder(folder)) return QXTNG_ERROR_FAILED;
    const bool bClient = !entry.HasOwnHold();
    entry.Leave();
    if (bClient) entry.Mutex().Unlock(true);
    EnterNewFolder(folder, pMutex);
    TNG_LOG(TNG_LOG_INFO, u"CTNGDBMgr::SetCacheFolder, new Cache mutex generated");
    if (bClient) {
        TNG_LOG(
            TNG_LOG_INFO,
            u"CTNGDBMgr::SetCacheFolder, Called to take lock on new Cache mutex as it was already taken by "
            u"client on old");
        s_bCacheNeedsSync = true;
        s_bCacheLockedByClient = pMutex->Lock(TNG_LOCK_WRITE, TNG_WAIT_FOREVER) != 0;
    }
    SetCacheModifiedTime();
    return QXTNG_SUCCESS;
}

// Only folders that are known can be moved.
std::uint32_t CTNGDBMgr::LoadIndexForMove() {
    if (m_eDBState != TNG_DB_NOT_LOADED) return QXTNG_SUCCESS;
    TNG_LOG(TNG_LOG_INFO, u"CTNGDBMgr::SetCacheFolder:Database is not initialized yet");
    const std::uint32_t result = LoadIndex();
    if (result == QXTNG_SUCCESS || result == QXTNG_ERROR_NOT_CACHED) return QXTNG_SUCCESS;
    TNG_LOG(TNG_LOG_INFO, u"CTNGDBMgr::SetCacheFolder:Database initialization failed");
    return result;
}

bool CTNGDBMgr::LeaveOldFolder(const std::u16string& folder) {
    const bool bExists = Platform::PathFileExistsW(s_strCacheFolder.Get().c_str());
    const bool bSomethingToMove = m_pSharedData->HasIndexFile();
    const std::uint32_t result = bExists ? m_pSharedData->UpdateCacheFolder(folder) : 1;
    if (result == 0) return false;
    // What is in memory would name files of the new folder that are not its own.
    const bool bMoved = bSomethingToMove && result == 1;
    if (!bMoved && m_pSharedData->Forget() != QXTNG_SUCCESS) return false;
    TNG_LOG(TNG_LOG_INFO, u"CTNGDBMgr::SetCacheFolder, Cache folder updated");
    if (bExists) SetCacheModifiedTime();  // in the old folder still, for those who stay there
    return true;
}

void CTNGDBMgr::EnterNewFolder(const std::u16string& folder, const std::shared_ptr<CTNGCacheMutex>& pMutex) {
    CloseKeptFiles();
    s_strCacheFolder.Set(folder);
    MoveDateTimeFile(folder);
    s_pCacheMutex.Set(pMutex);
}

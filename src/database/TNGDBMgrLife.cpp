// Loading the cache, keeping it in step with other processes, locking it for the client, saving it.

#include "TNGAddition.h"
#include "TNGDBMgr.h"
#include "common/TNGFileInfo.h"
#include "common/TNGLog.h"
#include "locks/TNGCacheEntry.h"
#include "store/TNGKeptFile.h"

namespace {

constexpr char16_t s_szLogSource[] = u"TNGDBMgr";

struct FilesClosedAtEnd {
    ~FilesClosedAtEnd() { CloseKeptFiles(); }
};

}  // namespace

std::uint32_t CTNGDBMgr::InitDB(const char16_t* path, bool bPathIsFile) {
    if (!IsCacheEnabled()) return QXTNG_ERROR_CACHE_DISABLED;
    TNG_LOG(TNG_LOG_ENTER, u"InitDB");
    std::uint32_t result = QXTNG_SUCCESS;
    const std::scoped_lock load(m_load);
    if (m_eDBState == TNG_DB_NOT_LOADED || !path) {
        // Without a path, anew; with one, what another thread has begun meanwhile stays.
        result = m_pSharedData->LoadDB(path, bPathIsFile, false, path != nullptr);
        const bool bAll = !path && !m_pSharedData->HasUnloadedFolders();
        m_eDBState = result != QXTNG_SUCCESS ? TNG_DB_NOT_LOADED : bAll ? TNG_DB_LOADED : TNG_DB_PARTIAL;
        if (result == QXTNG_SUCCESS && path) m_pSharedData->LoadFolderData(path, bPathIsFile);
    } else if (m_eDBState == TNG_DB_PARTIAL) {
        result = m_pSharedData->LoadFolderData(path, bPathIsFile);
    }
    TNG_LOG(TNG_LOG_LEAVE, u"InitDB");
    return result;
}

std::uint32_t CTNGDBMgr::CheckAndLoadDataBase(const char16_t* path, bool bPathIsFile) {
    switch (m_eDBState) {
        case TNG_DB_LOADED:
            return QXTNG_SUCCESS;
        case TNG_DB_NOT_LOADED:
            TNG_LOG(TNG_LOG_INFO, u"CTNGDBMgr::CheckAndLoadDataBase, Calling InitDB as InitDBFolder");
            return InitDB(path, bPathIsFile);
        case TNG_DB_PARTIAL:
            if (path && IsFileCached(path)) return QXTNG_SUCCESS;
            return m_pSharedData->LoadFolderData(path, bPathIsFile);
    }
    return QXTNG_ERROR_FAILED;
}

void CTNGDBMgr::SynchronizeIfLoaded() {
    if (m_eDBState != TNG_DB_NOT_LOADED) SynchronizeCache();
}

void CTNGDBMgr::SynchronizeCache() {
    if (s_bCacheLockedByClient && !s_bCacheNeedsSync) {
        TNG_LOG(TNG_LOG_INFO, u"CTNGDBMgr::SynchronizeCache,cache Locked by client and already synchronized");
        return;
    }
    bool bModified = false;
    if (m_pSharedData->SynchronizeCache(&bModified) != QXTNG_SUCCESS) {
        if (bModified) m_eDBState = TNG_DB_PARTIAL;  // some folders have been looked at
        TNG_LOG(TNG_LOG_INFO, u"CTNGDBMgr::SynchronizeCache, cache Synchronization failed");
        return;
    }
    if (s_bCacheLockedByClient) {
        TNG_LOG(TNG_LOG_INFO,
                u"CTNGDBMgr::SynchronizeCache, cache Locked by client and synchronized first time");
        s_bCacheNeedsSync = false;
    }
    if (bModified) {
        m_eDBState = TNG_DB_PARTIAL;
        TNG_LOG(TNG_LOG_INFO, u"CTNGDBMgr::SynchronizeCache, cache modified externally");
    }
    if (!m_pSharedData->HasFolderMaps()) {
        m_eDBState = TNG_DB_NOT_LOADED;
        TNG_LOG(TNG_LOG_INFO, u"CTNGDBMgr::SynchronizeCache, cache deleted externally");
    }
}

// The index file alone, unless something is loaded.
std::uint32_t CTNGDBMgr::LoadIndex() {
    const std::scoped_lock load(m_load);
    if (m_eDBState != TNG_DB_NOT_LOADED) return QXTNG_SUCCESS;
    const std::uint32_t result = m_pSharedData->LoadDB(nullptr, true, true, true);
    if (result == QXTNG_SUCCESS) m_eDBState = TNG_DB_PARTIAL;
    return result;
}

std::uint32_t CTNGDBMgr::LockCache() {
    if (!s_pCacheMutex.Get()) return QXTNG_ERROR_CACHE_LOCKED;
    if (s_bCacheLockedByClient) return QXTNG_SUCCESS;
    const std::scoped_lock change(m_change);
    if (s_bCacheLockedByClient) return QXTNG_SUCCESS;  // by another thread meanwhile
    if (s_pCacheMutex.Get()->Lock(TNG_LOCK_WRITE, TNG_WAIT_FOREVER) == 0) {
        TNG_LOG(TNG_LOG_INFO, u"CTNGDBMgr::LockCache, unable to lock cache");
        return QXTNG_ERROR_CACHE_LOCKED;
    }
    TNG_LOG(TNG_LOG_INFO, u"CTNGDBMgr::LockCache, cache locked successfully");
    s_bCacheNeedsSync = true;
    s_bCacheLockedByClient = true;
    return QXTNG_SUCCESS;
}

std::uint32_t CTNGDBMgr::ReleaseCacheLock() {
    if (!s_pCacheMutex.Get()) return QXTNG_ERROR_CACHE_LOCKED;
    if (!s_bCacheLockedByClient) return QXTNG_SUCCESS;
    const std::scoped_lock change(m_change);
    if (!s_bCacheLockedByClient) return QXTNG_SUCCESS;
    s_bCacheLockedByClient = false;  // first, so that who comes now waits for a hold of its own
    if (s_pCacheMutex.Get()->Unlock(true) == 0) {
        s_bCacheLockedByClient = true;
        TNG_LOG(TNG_LOG_INFO, u"CTNGDBMgr::LockCache, unable to release cache");
        return QXTNG_ERROR_CACHE_LOCKED;
    }
    TNG_LOG(TNG_LOG_INFO, u"CTNGDBMgr::LockCache, cache released successfully");
    s_bCacheNeedsSync = true;
    return QXTNG_SUCCESS;
}

std::uint32_t CTNGDBMgr::Shutdown() {
    const FilesClosedAtEnd closed;
    if (!IsCacheEnabled()) return QXTNG_ERROR_CACHE_DISABLED;
    if (m_eDBState == TNG_DB_NOT_LOADED) return QXTNG_SUCCESS;
    const CTNGCacheEntry entry(u"CTNGDBMgr::Shutdown", s_szLogSource);
    if (!entry.IsIn()) return QXTNG_ERROR_CACHE_LOCKED;
    SynchronizeCache();
    // Before the save: what is added after it is dirty again.
    s_bCacheDirty = false;
    s_nPendingAdds = 0;
    const bool bSaved = m_pSharedData->Shutdown() == QXTNG_SUCCESS;
    if (!m_pSharedData->HasFolderMaps()) m_eDBState = TNG_DB_NOT_LOADED;
    if (bSaved) return QXTNG_SUCCESS;
    s_bCacheDirty = true;
    return QXTNG_ERROR_FAILED;
}

void CTNGDBMgr::GenerateCacheMutex(const std::u16string& folder, std::shared_ptr<CTNGCacheMutex>* ppMutex) {
    std::u16string name = folder + u"_ThumbnailGenerator";
    CTNGFileInfo::GetHashCode(name, name);
    *ppMutex = std::make_shared<CTNGCacheMutex>(name);
}

void CTNGDBMgr::ReleaseGlobalMutexes() {
    if (const std::shared_ptr<CTNGMutex> pMutex = s_pDateTimeMutex.Get()) pMutex->Unlock(true);
    s_pDateTimeMutex.Clear();
    if (const std::shared_ptr<CTNGCacheMutex> pMutex = s_pCacheMutex.Get()) pMutex->Unlock(true);
    s_pCacheMutex.Clear();
    CloseKeptFiles();
}

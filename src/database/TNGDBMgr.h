#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

#include "common/TNGTypes.h"
#include "locks/TNGCacheMutex.h"
#include "shared/TNGSharedDataMgr.h"
#include "store/TNGDateTimeFile.h"

/// How much of the cache is in memory.
enum TNGDBState : std::uint32_t {
    TNG_DB_PARTIAL = 0,     // the index file; folders are loaded as they are asked for
    TNG_DB_LOADED = 1,      // everything
    TNG_DB_NOT_LOADED = 2,  // nothing
};

/// Set while the library has to save the cache before it unloads.
extern std::atomic<bool> s_bCacheDirty;

/// While the client holds the cache: it has still to be synchronised. Else always set.
extern std::atomic<bool> s_bCacheNeedsSync;

/// Records added since the last flush.
extern std::atomic<std::int32_t> s_nPendingAdds;

/// The one door to the thumbnail cache. Results are TNGResult codes. Operations may run on any thread; those
/// that change the cache as a whole (its folder, its state, the client's hold) run one at a time.
class CTNGDBMgr {
  public:
    /// Finds the default images and makes the table of their slots.
    CTNGDBMgr();
    ~CTNGDBMgr();
    CTNGDBMgr(const CTNGDBMgr&) = delete;
    CTNGDBMgr& operator=(const CTNGDBMgr&) = delete;

    bool IsCacheEnabled() const { return m_pSharedData->IsCacheEnabled(); }
    TNGDBState State() const { return m_eDBState; }

    /// Loads everything (no `path`), or the index and one folder: that of `path`, or with `bPathIsFile` the
    /// one that `path` lies in. The caller has entered the cache.
    std::uint32_t InitDB(const char16_t* path, bool bPathIsFile);

    /// Loads what is missing for work on a path. The caller has entered the cache.
    std::uint32_t CheckAndLoadDataBase(const char16_t* path, bool bPathIsFile);

    /// Forgets what other processes have changed. The caller has entered the cache.
    void SynchronizeCache();

    /// The same unless nothing is loaded.
    void SynchronizeIfLoaded();

    /// Disabling a cache that is loaded deletes it. Waits at most a second for workers to leave it.
    std::uint32_t SetCacheEnabled(bool bEnable);

    /// Moves the cache to another folder, which has to exist. Waits at most a second for workers to leave it.
    /// If that fails, all is as before.
    std::uint32_t SetCacheFolder(const std::u16string& folder);

    /// Takes the cache for the client until ReleaseCacheLock(), waiting as long as another process has it.
    std::uint32_t LockCache();
    std::uint32_t ReleaseCacheLock();

    /// Saves the cache and empties the memory.
    std::uint32_t Shutdown();

    /// Makes the lock of a cache folder.
    static void GenerateCacheMutex(const std::u16string& folder, std::shared_ptr<CTNGCacheMutex>* ppMutex);

    /// Gives up and destroys the date-time lock and the cache lock. Nobody may be using them.
    static void ReleaseGlobalMutexes();

    static void SetCacheModifiedTime() { ::SetCacheModifiedTime(); }
    static bool IsCacheSynchronized() { return ::IsCacheSynchronized(); }

    /// True if there is a live record of a picture or video in memory; `pRecord`, unless null, receives a
    /// copy of any record of this path.
    bool IsFileCached(const std::u16string& path, CTNGFileData* pRecord = nullptr);

    std::uint32_t RefreshDBInSysFileCache();

    std::uint32_t IsCachedThumbnailUpToDate(const std::u16string&, int*) { return QXTNG_ERROR_FAILED; }
    std::uint32_t DeleteThumbnail(const std::u16string&) { return QXTNG_ERROR_FAILED; }
    std::uint32_t DeleteFolder(const std::u16string&) { return QXTNG_ERROR_FAILED; }
    std::uint32_t UpdateFileInfo(const std::u16string&) { return QXTNG_ERROR_FAILED; }
    std::uint32_t UpdateThumbnail(const std::u16string&) { return QXTNG_ERROR_FAILED; }
    std::uint32_t UpdateFolder(const std::u16string&, bool) { return QXTNG_ERROR_FAILED; }
    std::uint32_t UpdateAllOfCache() { return QXTNG_ERROR_FAILED; }

  private:
    std::uint32_t EnableOrDisable(bool bEnable);
    std::uint32_t LoadIndexForMove();
    bool LeaveOldFolder(const std::u16string& folder);
    void EnterNewFolder(const std::u16string& folder);
    static void GetDefaultImagePath(const char16_t* pszFileName, char16_t* pszPath);

    std::unique_ptr<CTNGSharedDataMgr> m_pSharedData;
    std::atomic<TNGDBState> m_eDBState{TNG_DB_NOT_LOADED};
    std::mutex m_load;    // held while what is not loaded is loaded
    std::mutex m_change;  // held by an operation on the cache as a whole; the first lock of all
};

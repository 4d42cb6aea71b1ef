#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>

#include "common/TNGBuffer.h"
#include "common/TNGTypes.h"
#include "locks/TNGCacheMutex.h"
#include "shared/TNGSharedDataMgr.h"
#include "store/TNGDataFile.h"
#include "store/TNGDateTimeFile.h"

class CTNGAddition;
class CTNGThumbnailProducer;
namespace Gdiplus {
class Image;
}

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

    /// --- Looking up and reading; the caller has entered the cache unless told otherwise ---

    /// True if there is a live record of a picture or video in memory; `pRecord`, unless null, receives a
    /// copy of any record of this path. Need not have entered.
    bool IsFileCached(const std::u16string& path, CTNGFileData* pRecord = nullptr);

    /// True if there is a live record in memory that fits the file.
    bool IsRecordUpToDate(const std::u16string& path, const Platform::WIN32_FIND_DATAW& fileInfo,
                          CTNGFileData* pRecord = nullptr);

    /// Enters the cache, and compares the record of a picture or video with its file.
    std::uint32_t IsCachedThumbnailUpToDate(const std::u16string& path, int* pbUpToDate);

    /// True if the size of the source picture is known. `*pbBadEntry` is set for a video without thumbnails.
    /// Need not have entered.
    bool GetSizeOriginal(const std::u16string& path, TNGSize* pSize, bool* pbBadEntry);

    /// Reads the thumbnail that serves a request, in whole pages, or a default image. 0, or 1 if the cache
    /// cannot serve. An entry that does not fit its file is deleted on the way, a damaged block is counted.
    /// `*peFileType` receives the type of a record unless that lacks what was asked for, `*peOrigin` the
    /// origin of what was read.
    int GetThumbnailFromCache(const std::u16string& path, TNGBuffer& pBuffer, std::int32_t* pSize,
                              const TNGSize& requested, std::uint32_t* peFileType,
                              const Platform::WIN32_FIND_DATAW& fileInfo, int* peOrigin);

    /// A copy of the default image of a type, if there is one yet; with `bRecord` the file gets a record,
    /// too. 0 or 1.
    int GetDefaultThumbnail(std::uint32_t eFileType, const std::u16string& path,
                            const Platform::WIN32_FIND_DATAW& fileInfo, TNGBuffer& pBuffer,
                            std::int32_t* pSize, bool bRecord);

    /// --- Adding; the caller has entered the cache ---

    /// Stores the thumbnails of a file, compressed; the extra-large one may be empty. For a video `small`
    /// with a size of -1 says that there are none, and `large` is the default image, as it is for files that
    /// are no pictures. Without `pOriginalSize` the producer is asked for the size. 0 or 1.
    int AddThumbnailToCache(CTNGThumbnailProducer& producer, const std::u16string& path,
                            const TNGThumbnailBytes& extraLarge, const TNGThumbnailBytes& large,
                            const TNGThumbnailBytes& small, std::uint32_t eFileType,
                            const Platform::WIN32_FIND_DATAW& fileInfo, bool bEmbedded,
                            const TNGSize* pOriginalSize);

    /// The same from an image that has been made for a request. 0 or 1.
    int AddThumbnailFromImage(CTNGThumbnailProducer& producer, const std::u16string& path,
                              Gdiplus::Image& image, std::uint32_t eFileType,
                              const Platform::WIN32_FIND_DATAW& fileInfo, int eOrigin,
                              const TNGSize* pOriginalSize);

    /// --- Maintenance ---

    /// Starts the reading of all data files in the background, unless it has been done lately.
    std::uint32_t RefreshDBInSysFileCache();

    /// Delete the entry of a file, or of all files right in a folder; saved at once.
    std::uint32_t DeleteThumbnail(const std::u16string& path);
    std::uint32_t DeleteFolder(const std::u16string& folder);

    /// Accepts a changed file as it now is: the thumbnails stay. Saved at once.
    std::uint32_t UpdateFileInfo(const std::u16string& path);

    /// Makes the thumbnails of a file, of the files right in a folder, or of all files anew where the file
    /// has changed, and drops those of files that are gone. Saved by Shutdown().
    std::uint32_t UpdateThumbnail(const std::u16string& path);
    std::uint32_t UpdateFolder(const std::u16string& folder);
    std::uint32_t UpdateAllOfCache();

  private:
    struct NewThumbnail;

    int Add(CTNGAddition& addition, NewThumbnail& thumbnail);
    bool StoreBytes(CTNGAddition& addition, NewThumbnail& thumbnail, std::int32_t* pOffset);
    void PublishThumbnail(CTNGAddition& addition);
    bool RecordDefaultThumbnail(std::uint32_t eFileType, const std::u16string& path,
                                const Platform::WIN32_FIND_DATAW& fileInfo, std::int32_t nSize);
    std::uint32_t UpdateFolderEntered(const std::u16string& folder);
    bool FindLiveRecord(const std::u16string& path, TNGFoundRecord* pFound);
    bool DropEntry(const std::u16string& path);
    int ReadThumbnail(const std::u16string& path, const TNGFoundRecord& found, const TNGSize& requested,
                      TNGBuffer& pBuffer, std::int32_t* pSize, std::uint32_t* peFileType, int* peOrigin);
    void NoteDamage(const std::u16string& path, TNGDataFileStatus eStatus);
    std::uint32_t EnableOrDisable(bool bEnable);
    std::uint32_t LoadIndex();
    std::uint32_t LoadIndexForMove();
    bool LeaveOldFolder(const std::u16string& folder);
    void EnterNewFolder(const std::u16string& folder, const std::shared_ptr<CTNGCacheMutex>& pMutex);
    static void GetDefaultImagePath(const char16_t* pszFileName, char16_t* pszPath);

    std::unique_ptr<CTNGSharedDataMgr> m_pSharedData;
    std::atomic<TNGDBState> m_eDBState{TNG_DB_NOT_LOADED};
    std::mutex m_load;    // held while what is not loaded is loaded
    std::mutex m_change;  // held by an operation on the cache as a whole; the first lock of all
};

/// The manager of the process, for the generation flows; null before the first export is called.
extern CTNGDBMgr* s_pDBMgr;

#pragma once

#include <atomic>
#include <cstdint>
#include <string>

#include "common/TNGTypes.h"

/// Set while the library has to save the cache before it unloads.
extern std::atomic<bool> s_bCacheDirty;

/// The one door to the thumbnail cache. There is no cache yet: it counts as disabled, and every operation on
/// it answers QXTNG_ERROR_FAILED.
class CTNGDBMgr {
  public:
    /// Finds the default images and makes the table of their slots.
    CTNGDBMgr();
    ~CTNGDBMgr();
    CTNGDBMgr(const CTNGDBMgr&) = delete;
    CTNGDBMgr& operator=(const CTNGDBMgr&) = delete;

    bool IsCacheEnabled() const { return false; }

    std::uint32_t InitDB(const char16_t*, bool) { return QXTNG_ERROR_FAILED; }
    std::uint32_t SetCacheEnabled(bool) { return QXTNG_ERROR_FAILED; }
    std::uint32_t SetCacheFolder(const std::u16string&) { return QXTNG_ERROR_FAILED; }
    std::uint32_t LockCache() { return QXTNG_ERROR_FAILED; }
    std::uint32_t ReleaseCacheLock() { return QXTNG_ERROR_FAILED; }
    std::uint32_t RefreshDBInSysFileCache() { return QXTNG_ERROR_FAILED; }
    std::uint32_t Shutdown() { return QXTNG_ERROR_FAILED; }

    bool IsFileCached(const std::u16string&) { return false; }
    std::uint32_t IsCachedThumbnailUpToDate(const std::u16string&, int*) { return QXTNG_ERROR_FAILED; }
    std::uint32_t DeleteThumbnail(const std::u16string&) { return QXTNG_ERROR_FAILED; }
    std::uint32_t DeleteFolder(const std::u16string&) { return QXTNG_ERROR_FAILED; }
    std::uint32_t UpdateFileInfo(const std::u16string&) { return QXTNG_ERROR_FAILED; }
    std::uint32_t UpdateThumbnail(const std::u16string&) { return QXTNG_ERROR_FAILED; }
    std::uint32_t UpdateFolder(const std::u16string&, bool) { return QXTNG_ERROR_FAILED; }
    std::uint32_t UpdateAllOfCache() { return QXTNG_ERROR_FAILED; }

  private:
    static void GetDefaultImagePath(const char16_t* pszFileName, char16_t* pszPath);
};

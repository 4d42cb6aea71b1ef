#pragma once

#include "Arguments.h"

namespace Client {

/// The library's cache on disk, in use while the object lives; at its end what is new is saved. One at a
/// time, made and ended while no other thread is in the library.
class ThumbnailCache {
  public:
    /// Makes the folder if it is missing, for the user alone. A folder that was asked for and cannot be used
    /// is a WrongUse or a Failure; the default folder may be missed: there is a warning, and no cache.
    explicit ThumbnailCache(const CacheOptions& options);
    ~ThumbnailCache();
    ThumbnailCache(const ThumbnailCache&) = delete;
    ThumbnailCache& operator=(const ThumbnailCache&) = delete;

    /// The folder in use; empty without a cache.
    const std::string& Folder() const { return m_folder; }

  private:
    void Open(const std::string& folder);
    void OpenDefault();

    std::string m_folder;
};

}  // namespace Client

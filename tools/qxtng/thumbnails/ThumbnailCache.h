#pragma once

#include <optional>
#include <string>

namespace Client {

struct CacheOptions {
    std::optional<std::string> folder;  // none: the default
    bool disabled = false;
};

/// Keeps all other programs out of the cache in use while it lives. Throws a Failure if that cannot be had.
class CacheHold {
  public:
    CacheHold();
    ~CacheHold();
    CacheHold(const CacheHold&) = delete;
    CacheHold& operator=(const CacheHold&) = delete;
};

/// The library's cache on disk, in use while the object lives; at its end what is new is saved. One at a
/// time, made and ended while no other thread is in the library.
class ThumbnailCache {
  public:
    /// Makes the folder if it is missing, for the user alone. A folder that was asked for and cannot be used
    /// is a WrongUse or a Failure; the default folder may be missed: there is a warning, and no cache. One
    /// that may only be read is used so, with a warning, or not at all if only parts of it can be written.
    explicit ThumbnailCache(const CacheOptions& options);

    /// For work on a cache that is there: a WrongUse if the folder that was asked for is not, a Failure if it
    /// has no cache, or its files cannot be read, or written if that is wanted.
    enum class Access { Read, Write };
    static ThumbnailCache Existing(const CacheOptions& options, Access access);

    /// Saves what is new now, and ends the use of the cache. False, with a warning, if it could not be saved.
    bool Close();

    ~ThumbnailCache();
    ThumbnailCache(const ThumbnailCache&) = delete;
    ThumbnailCache& operator=(const ThumbnailCache&) = delete;

    /// The folder in use; empty without a cache.
    const std::string& Folder() const { return m_folder; }

    bool IsReadOnly() const { return m_isReadOnly; }

    /// Moves the files to another folder, which is made if it is missing, and must have no files of a cache.
    /// A WrongUse or a Failure leaves them where they are.
    void MoveTo(const std::string& folder);

    /// Removes all files of the cache, damaged and left-over ones, too.
    void Clear();

  private:
    explicit ThumbnailCache(const std::string& folder) { Use(folder); }
    void Open(const std::string& folder);
    void Use(const std::string& folder);
    void OpenDefault();

    std::string m_folder;
    bool m_isReadOnly = false;
};

}  // namespace Client

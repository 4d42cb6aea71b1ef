#include "ThumbnailCache.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <utility>
#include <vector>

#include "CacheCheck.h"
#include "api/QxTng.h"
#include "files/SourceFile.h"
#include "platform/Text.h"
#include "terminal/Messages.h"

namespace Client {
namespace {

namespace fs = std::filesystem;

constexpr const char* kIndexName = "DirectoryMap.dat";
constexpr const char* kTimeName = "CacheUpdateInfo.txt";

/// The folder that the environment variable names, if it is of use.
fs::path FolderFrom(const char* variable) {
    const char* const value = std::getenv(variable);
    const fs::path folder = value ? value : "";
    return folder.is_absolute() ? folder : fs::path();
}

fs::path DefaultFolder() {
    const fs::path caches = FolderFrom("XDG_CACHE_HOME");
    if (!caches.empty()) return caches / "qxtng";
    const fs::path home = FolderFrom("HOME");
    if (home.empty()) throw Failure("neither XDG_CACHE_HOME nor HOME names a folder");
    return home / ".cache/qxtng";
}

/// A folder, made with those above it where they are missing. What was made goes again, unless it is kept.
class MadeFolder {
  public:
    explicit MadeFolder(const std::string& folder) {
        fs::path path;
        for (const fs::path& name : fs::path(folder)) {
            path /= name;
            if (mkdir(path.c_str(), 0700) == 0) {
                m_made.push_back(path);
            } else if (errno != EEXIST) {
                const int error = errno;
                Remove();
                throw SystemFailure("cache folder " + Displayable(folder) + " cannot be made", error);
            }
        }
    }
    ~MadeFolder() { Remove(); }
    MadeFolder(const MadeFolder&) = delete;
    MadeFolder& operator=(const MadeFolder&) = delete;

    void Keep() { m_made.clear(); }

  private:
    void Remove() {
        for (; !m_made.empty(); m_made.pop_back())
            rmdir(m_made.back().c_str());
    }

    std::vector<fs::path> m_made;
};

bool IsCacheFile(const std::string& name) {
    const auto isNumber = [](const std::string& text) {
        return !text.empty() && std::ranges::all_of(text, [](char c) { return c >= '0' && c <= '9'; });
    };
    const fs::path path = name;
    const bool isNumbered = path.extension() == ".dat" || path.extension() == ".db";
    return name == kIndexName || name == kTimeName || (isNumbered && isNumber(path.stem()));
}

/// The names of files in a folder that are a cache's, or look like it.
std::vector<std::string> ListCacheFiles(const std::string& folder) {
    std::vector<std::string> names;
    std::error_code error;
    fs::directory_iterator entry(folder, error);
    for (; !error && entry != fs::directory_iterator(); entry.increment(error)) {
        const std::string name = entry->path().filename();
        if (IsCacheFile(name)) names.push_back(name);
    }
    if (error) throw Failure("cache folder " + Displayable(folder) + " cannot be read: " + error.message());
    return names;
}

bool HasWritableFile(const std::string& folder) {
    return std::ranges::any_of(ListCacheFiles(folder), [&folder](const std::string& name) {
        return access((folder + '/' + name).c_str(), W_OK) == 0;
    });
}

void RemoveFile(const fs::path& file) {
    std::error_code error;
    fs::remove(file, error);
    if (error) throw Failure(Displayable(file.native()) + " cannot be removed: " + error.message());
}

/// Nothing is done by half: all files of the cache must be open to this user.
void RequireAccess(const std::string& folder, bool write) {
    const auto require = [write](const fs::path& path, int mode) {
        if (access(path.c_str(), mode | (write ? W_OK : 0)) == 0) return;
        if (errno == ENOENT) throw Failure("there is no cache in " + Displayable(path.native()));
        throw SystemFailure("cache in " + Displayable(path.native()) + " cannot be used", errno);
    };
    require(folder, R_OK | X_OK);
    const std::vector<std::string> names = ListCacheFiles(folder);
    const bool isCache = std::ranges::any_of(
        names, [](const std::string& name) { return name == kIndexName || name == kTimeName; });
    if (!isCache) throw Failure("there is no cache in " + Displayable(folder));
    for (const std::string& name : names)
        require(fs::path(folder) / name, R_OK);
}

/// False if the system has no locks for the folder. Waits as long as another program has it, which any
/// request would have to do as well.
bool CanBeLocked() {
    return LockCache() == QXTNG_SUCCESS && ReleaseCacheLock() == QXTNG_SUCCESS;
}

}  // namespace

CacheHold::CacheHold() {
    if (LockCache() != QXTNG_SUCCESS) throw Failure("the cache cannot be locked");
}

CacheHold::~CacheHold() {
    ReleaseCacheLock();
}

ThumbnailCache::ThumbnailCache(const CacheOptions& options) {
    if (options.disabled && options.folder) throw WrongUse("--cache and --no-cache exclude each other");
    if (options.disabled) return;
    if (!options.folder) {
        OpenDefault();
    } else if (options.folder->empty()) {
        throw WrongUse("the name after --cache is empty");
    } else {
        Open(AbsolutePath(*options.folder));
    }
}

void ThumbnailCache::OpenDefault() {
    try {
        Open(DefaultFolder());
    } catch (const std::runtime_error& error) {
        PrintError(std::string("warning: nothing is cached: ") + error.what());
    }
}

ThumbnailCache ThumbnailCache::Existing(const CacheOptions& options, Access access) {
    if (options.folder && options.folder->empty()) throw WrongUse("the name after --cache is empty");
    const std::string folder = options.folder ? AbsolutePath(*options.folder) : DefaultFolder().native();
    if (options.folder) RequireFolder(folder, "cache folder");
    RequireAccess(folder, access == Access::Write);
    return ThumbnailCache(folder);
}

void ThumbnailCache::Open(const std::string& folder) {
    MadeFolder made(folder);
    RequireFolder(folder, "cache folder");
    if (access(folder.c_str(), R_OK | X_OK) != 0)
        throw SystemFailure("cache folder " + Displayable(folder) + " cannot be used", errno);
    if (access(folder.c_str(), W_OK) != 0) {
        const int error = errno;
        PrintError("warning: nothing is kept: cache folder " + Displayable(folder) +
                   " cannot be written: " + std::strerror(error));
        // Where some files can be written, blocks would be added that no record ever names.
        if (HasWritableFile(folder)) return;
        m_isReadOnly = true;
    }
    Use(folder);
    made.Keep();
}

void ThumbnailCache::Use(const std::string& folder) {
    // Programs meet at the lock only if all of them spell the folder alike.
    const std::string real = fs::canonical(folder);
    if (SetCacheFolder(Platform::PathFromBytes(real).c_str()) != QXTNG_SUCCESS || !CanBeLocked() ||
        SetCacheEnabled(1) != QXTNG_SUCCESS)
        throw Failure("cache folder " + Displayable(folder) + " cannot be used: it cannot be locked");
    m_folder = real;
}

ThumbnailCache::~ThumbnailCache() {
    Close();
}

bool ThumbnailCache::Close() {
    const std::string folder = std::exchange(m_folder, {});
    if (folder.empty() || ShutDown() == QXTNG_SUCCESS || m_isReadOnly) return true;
    PrintError("warning: the cache in " + Displayable(folder) + " could not be saved");
    return false;
}

void ThumbnailCache::MoveTo(const std::string& folder) {
    MadeFolder made(folder);
    RequireFolder(folder, "cache folder");
    const std::string real = fs::canonical(folder);
    if (real == m_folder) throw WrongUse("the cache is in " + Displayable(real) + " already");
    if (!ListCacheFiles(real).empty())
        throw WrongUse(Displayable(real) + " has a cache already, or files that bear such names");
    if (access(real.c_str(), W_OK | X_OK) != 0)
        throw SystemFailure("cache folder " + Displayable(real) + " cannot be used", errno);
    InitDB();  // a cache that is damaged, or empty, moves as far as it can be read
    errno = 0;
    if (SetCacheFolder(Platform::PathFromBytes(real).c_str()) != QXTNG_SUCCESS) {
        // What is missing is asked about on the way, and is no reason.
        const bool hasReason = errno != 0 && errno != ENOENT;
        const std::string reason = hasReason ? std::string(": ") + std::strerror(errno) : "";
        throw Failure("the files cannot be moved to " + Displayable(real) + reason +
                      "; all of them are where they were");
    }
    made.Keep();
    m_folder = real;
}

void ThumbnailCache::Clear() {
    const bool isDamaged = InitDB() == QXTNG_ERROR_FILE_READ;
    if (SetCacheEnabled(0) != QXTNG_SUCCESS || SetCacheEnabled(1) != QXTNG_SUCCESS)
        throw Failure("the cache in " + Displayable(m_folder) + " is in use; try again");
    const CacheHold hold;
    const fs::path folder = m_folder;
    if (isDamaged) RemoveFile(folder / kIndexName);
    for (const CacheCheck::Finding& finding : CacheCheck::CheckCache(folder).findings) {
        using enum CacheCheck::FindingKind;
        if (finding.kind == OrphanList || finding.kind == OrphanData || finding.kind == TemporaryFile)
            RemoveFile(folder / finding.file);
    }
}

}  // namespace Client

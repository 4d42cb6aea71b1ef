#include "ThumbnailCache.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>

#include "Messages.h"
#include "SourceFile.h"
#include "api/QxTng.h"
#include "platform/Text.h"

namespace Client {
namespace {

namespace fs = std::filesystem;

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

void MakeFolder(const std::string& folder) {
    fs::path made;
    for (const fs::path& name : fs::path(folder)) {
        made /= name;
        if (mkdir(made.c_str(), 0700) != 0 && errno != EEXIST)
            throw SystemFailure("cache folder " + Displayable(folder) + " cannot be made", errno);
    }
    if (!fs::is_directory(folder)) throw WrongUse("cache folder " + Displayable(folder) + " is not a folder");
}

/// False if the system has no locks for the folder. Waits as long as another program has it, which any
/// request would have to do as well.
bool CanBeLocked() {
    return LockCache() == QXTNG_SUCCESS && ReleaseCacheLock() == QXTNG_SUCCESS;
}

}  // namespace

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

void ThumbnailCache::Open(const std::string& folder) {
    MakeFolder(folder);
    const std::string unusable = "cache folder " + Displayable(folder) + " cannot be used";
    if (access(folder.c_str(), R_OK | W_OK | X_OK) != 0) throw SystemFailure(unusable, errno);
    // Programs meet at the lock only if all of them spell the folder alike.
    const std::string real = fs::canonical(folder);
    if (SetCacheFolder(Platform::PathFromBytes(real).c_str()) != QXTNG_SUCCESS || !CanBeLocked() ||
        SetCacheEnabled(1) != QXTNG_SUCCESS)
        throw Failure(unusable + ": it cannot be locked");
    m_folder = real;
}

ThumbnailCache::~ThumbnailCache() {
    if (!m_folder.empty() && ShutDown() != QXTNG_SUCCESS)
        PrintError("warning: the cache in " + Displayable(m_folder) + " could not be saved");
}

}  // namespace Client

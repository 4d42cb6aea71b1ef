#include "TNGCacheFiles.h"

#include "locks/TNGAutoMutexPtr.h"
#include "locks/TNGFileLockRegistry.h"
#include "platform/FileOperations.h"

namespace {

template <typename Work>
bool UnderLock(std::uint32_t key, bool bListFile, std::uint32_t timeout, Work work) {
    const TNGFileLock pLock = GetFileLockRegistry().GetFileLock(key, bListFile);
    const CTNGAutoMutexPtr hold(pLock.get(), true, timeout, true);
    return hold.IsLocked() && work();
}

}  // namespace

bool DeleteCacheFile(const std::u16string& path, std::uint32_t key, bool bListFile, std::uint32_t timeout) {
    return UnderLock(key, bListFile, timeout, [&] { return DeleteCacheFileNoLock(path); });
}

bool DeleteCacheFileNoLock(const std::u16string& path) {
    return Platform::DeleteFileW(path.c_str());
}

bool CopyCacheFile(const std::u16string& source, const std::u16string& target, std::uint32_t key,
                   bool bFailIfExists, bool bListFile, std::uint32_t timeout) {
    return UnderLock(key, bListFile, timeout,
                     [&] { return CopyCacheFileNoLock(source, target, bFailIfExists); });
}

bool CopyCacheFileNoLock(const std::u16string& source, const std::u16string& target, bool bFailIfExists) {
    return Platform::CopyFileW(source.c_str(), target.c_str(), bFailIfExists);
}

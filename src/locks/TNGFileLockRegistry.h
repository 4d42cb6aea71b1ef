#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>

#include "common/TNGGuard.h"
#include "locks/TNGMutex.h"

/// A lock in use: it lives until the last user is done, even if the registry has dropped it.
using TNGFileLock = std::shared_ptr<CTNGMutex>;

/// Gives each cache file a lock of its own within the process, found by the hash of the file's full path.
/// There is one table for list files and one for data files; two paths with one hash share a lock, which
/// costs waiting and nothing else. All operations may run on any thread; none waits for a file's lock.
class CTNGFileLockRegistry {
  public:
    /// The lock of a key, made on first use.
    TNGFileLock GetFileLock(std::uint32_t key, bool bListFile);

    /// What IsLocked() says of the lock; 0 if the key has none.
    int IsFileLocked(std::uint32_t key, bool bListFile);

    /// Drops the lock of a key whose file is gone.
    void RemoveFileLock(std::uint32_t key, bool bListFile);

    /// Gives up every hold and drops all locks.
    void ReleaseAll();

  private:
    using Table = std::unordered_map<std::uint32_t, TNGFileLock>;

    Table& TableOf(bool bListFile) TNG_REQUIRES(m_guard) { return bListFile ? m_listLocks : m_dataLocks; }

    TNGGuard m_guard;
    Table m_listLocks TNG_GUARDED_BY(m_guard);
    Table m_dataLocks TNG_GUARDED_BY(m_guard);
};

/// The registry of the process, made on first call.
CTNGFileLockRegistry& GetFileLockRegistry();

/// Gives up all file locks and destroys the registry; the next call of GetFileLockRegistry() makes a new one.
/// Nobody may be using it.
void ReleaseFileLockRegistry();

/// The lock of a file by its full path.
TNGFileLock GetFileLockForPath(const std::u16string& path, bool bListFile);

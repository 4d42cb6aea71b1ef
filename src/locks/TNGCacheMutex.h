#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

#include "common/TNGShared.h"
#include "locks/TNGMutex.h"

/// The lock of a whole cache folder, and the only one that reaches other processes: whoever holds it has the
/// folder to itself. The threads of a process share one hold of it as readers. A writer takes over what
/// readers of this process hold, without waiting: they give the hold back when the writer is gone and the
/// last of them has left. It is always the outermost lock.
class CTNGCacheMutex : public CTNGMutex {
  public:
    explicit CTNGCacheMutex(const std::u16string& name) : CTNGMutex(name) {}

    /// Joins what a writer of this process holds: the hold outlives the writer until Unlock(false). False if
    /// there is no writer within `timeout` ms, or the client gives the cache back meanwhile.
    bool JoinWriter(std::uint32_t timeout);

    /// Waits until no more than `nReadersLeft` readers hold it, or nobody. False if `timeout` ms pass first.
    bool WaitUntilCacheMutexFree(std::uint32_t timeout, std::int32_t nReadersLeft);

    /// The same for those who have joined a writer.
    bool WaitUntilJoinedHaveLeft(std::uint32_t timeout, std::int32_t nJoinedLeft);

    /// For threads that want into the cache: waits until `s_bAbandonThreads` is clear, looking every
    /// `timeout` / 20. False if `timeout` ms pass first.
    static bool WaitForAbandonToFree(std::uint32_t timeout);

  private:
    bool CanJoin(TNGLockType type) const override TNG_REQUIRES(m_guard);
    void Join(TNGLockType type) override TNG_REQUIRES(m_guard);

    bool IsFree(std::int32_t nReadersLeft) const TNG_REQUIRES(m_guard) {
        return !m_bLocked || m_nReadCount <= nReadersLeft;
    }
};

/// The lock of the present cache folder; null until a folder is set. A lock that is replaced lives until its
/// last user has left.
extern TNGShared<std::shared_ptr<CTNGCacheMutex>> s_pCacheMutex;

/// Set from a successful LockCache() to a successful ReleaseCacheLock().
extern std::atomic<bool> s_bCacheLockedByClient;

/// Set while the cache is to be empty of workers, because its folder or its state changes.
extern std::atomic<bool> s_bAbandonThreads;

/// Raises `s_bAbandonThreads` for a scope.
class CTNGAbandonScope {
  public:
    CTNGAbandonScope() { s_bAbandonThreads = true; }
    ~CTNGAbandonScope() { End(); }
    CTNGAbandonScope(const CTNGAbandonScope&) = delete;
    CTNGAbandonScope& operator=(const CTNGAbandonScope&) = delete;

    void End() { s_bAbandonThreads = false; }
};

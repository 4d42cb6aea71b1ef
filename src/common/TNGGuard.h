#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

/// Annotations for clang's thread safety analysis: which data a lock guards, and which functions need it.
#ifdef __clang__
#define TNG_ANNOTATE(x) __attribute__((x))
#else
#define TNG_ANNOTATE(x)
#endif
#define TNG_GUARDED_BY(guard) TNG_ANNOTATE(guarded_by(guard))
#define TNG_REQUIRES(guard) TNG_ANNOTATE(requires_capability(guard))
#define TNG_EXCLUDES(guard) TNG_ANNOTATE(locks_excluded(guard))

/// A small lock within the process, held for short work in memory, and never over a wait for another process,
/// a decode or a callback.
class TNG_ANNOTATE(capability("guard")) TNGGuard {
  public:
    constexpr TNGGuard() = default;
    void Lock() TNG_ANNOTATE(acquire_capability()) { m_mutex.lock(); }
    void Unlock() TNG_ANNOTATE(release_capability()) { m_mutex.unlock(); }

  private:
    friend class TNGCondition;
    std::mutex m_mutex;
};

/// Holds a guard for a scope.
class TNG_ANNOTATE(scoped_lockable) TNGGuardLock {
  public:
    explicit TNGGuardLock(TNGGuard& guard) TNG_ANNOTATE(acquire_capability(guard)) : m_guard(guard) {
        m_guard.Lock();
    }
    ~TNGGuardLock() TNG_ANNOTATE(release_capability()) { m_guard.Unlock(); }
    TNGGuardLock(const TNGGuardLock&) = delete;
    TNGGuardLock& operator=(const TNGGuardLock&) = delete;

  private:
    TNGGuard& m_guard;
};

/// Waits for a change of what a guard guards. Waits may end early.
class TNGCondition {
  public:
    void Wait(TNGGuard& guard) TNG_REQUIRES(guard) {
        std::unique_lock lock(guard.m_mutex, std::adopt_lock);
        m_condition.wait(lock);
        lock.release();
    }

    /// False if the time has run out.
    bool WaitUntil(TNGGuard& guard, std::chrono::steady_clock::time_point deadline) TNG_REQUIRES(guard) {
        std::unique_lock lock(guard.m_mutex, std::adopt_lock);
        const bool bInTime = m_condition.wait_until(lock, deadline) == std::cv_status::no_timeout;
        lock.release();
        return bInTime;
    }

    void NotifyAll() { m_condition.notify_all(); }

  private:
    std::condition_variable m_condition;
};

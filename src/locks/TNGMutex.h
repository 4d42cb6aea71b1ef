#pragma once

#include <chrono>
#include <cstdint>
#include <string>

#include "common/TNGGuard.h"
#include "platform/Semaphores.h"

enum TNGLockType : std::uint32_t {
    TNG_LOCK_READ = 0,
    TNG_LOCK_WRITE = 1,
    TNG_LOCK_NONE = 2,
};

/// Time-outs, in milliseconds.
inline constexpr std::uint32_t TNG_WAIT_FOREVER = 0xFFFFFFFF;
inline constexpr std::uint32_t TNG_LOCK_TIMEOUT_MS = 1000;

/// The lock of the system: a binary semaphore with readers and writers on top of it.
///
/// Towards other processes and other objects of the same name it is held or it is not. Within the object the
/// threads of the process share a hold as readers: the first takes the semaphore, the last gives it back. A
/// writer is alone. Any thread may give back what another one took; a thread that asks for a second hold
/// waits against itself, but for a reader that asks to read.
class CTNGMutex {
  public:
    /// A lock of this object alone, under a name that no other has.
    CTNGMutex() : CTNGMutex(std::u16string()) {}

    /// With a name, the lock is shared by all processes of the user that use the name.
    explicit CTNGMutex(const std::u16string& name);

    /// Gives up what is held.
    virtual ~CTNGMutex();
    CTNGMutex(const CTNGMutex&) = delete;
    CTNGMutex& operator=(const CTNGMutex&) = delete;

    /// False if there is no semaphore: nothing can ever be held.
    bool IsUsable() const { return m_hSemaphore != nullptr; }

    /// 1 if the lock is held, 0 if it could not be had. At worst this takes twice `timeout`: once for a hold
    /// of this process to end, once for one of another.
    virtual int Lock(const TNGLockType& type, std::uint32_t timeout);

    /// Gives one hold back, or with `bForce` all of them. 0 if there is no semaphore, or it could not be
    /// released.
    int Unlock(bool bForce);

    /// 1 while the lock is held. `pType` may be null; else it receives what is held.
    int IsLocked(TNGLockType* pType);

    /// Waits until nothing is held, looking every `sleepMs` at the latest. False if the sleeps add up to
    /// `timeout` first.
    bool WaitUntillFree(std::uint32_t timeout, std::uint32_t sleepMs);

  protected:
    int TakeSemaphore(TNGLockType type, std::uint32_t timeout) TNG_REQUIRES(m_guard);
    /// Waits for the hold to end, or to become one that a lock of this type can join.
    bool WaitWhileHeld(TNGLockType type, std::uint32_t timeout, std::uint32_t sleepMs) TNG_REQUIRES(m_guard);
    bool WaitWhileAnotherTakes(std::uint32_t timeout) TNG_REQUIRES(m_guard);
    /// Whether a request goes with the hold that is there, and what it then does to it.
    virtual bool CanJoin(TNGLockType type) const TNG_REQUIRES(m_guard);
    virtual void Join(TNGLockType type) TNG_REQUIRES(m_guard);

    bool IsBlocked(TNGLockType type) const TNG_REQUIRES(m_guard);
    int WaitFailed() const;
    int LockFailed() const;
    int ReleaseAll() TNG_REQUIRES(m_guard);
    int LeaveToReaders() TNG_REQUIRES(m_guard);

    std::u16string m_strName;
    Platform::Semaphore* m_hSemaphore = nullptr;  // owned; null if it could not be made

    TNGGuard m_guard;       // of the fields below
    TNGCondition m_change;  // of the fields below
    TNGLockType m_eLockType TNG_GUARDED_BY(m_guard) = TNG_LOCK_NONE;
    std::int32_t m_nReadCount TNG_GUARDED_BY(m_guard) = 0;  // above 0 exactly for a read hold
    std::int32_t m_nReadersTakenOver TNG_GUARDED_BY(m_guard) =
        0;  // still to give back a hold that a writer has
    bool m_bLocked TNG_GUARDED_BY(m_guard) = false;
    bool m_bTaking TNG_GUARDED_BY(m_guard) = false;  // a thread waits for the semaphore, for all of them
};

#include "TNGMutex.h"

#include <algorithm>
#include <utility>

#include "common/TNGFileInfo.h"
#include "common/TNGLog.h"

namespace {

constexpr char16_t s_szLogSource[] = u"TNGMutex";

constexpr std::uint32_t kLooks = 20;  // in a time-out

using Clock = std::chrono::steady_clock;

Clock::time_point After(std::uint32_t ms) {
    return Clock::now() + std::chrono::milliseconds(ms);
}

// The time of one call of Lock(): no wait is longer than the time-out, and all of them together than twice
// that.
class Limit {
  public:
    explicit Limit(std::uint32_t timeout)
        : m_timeout(timeout),
          m_end(timeout == TNG_WAIT_FOREVER ? Clock::time_point::max()
                                            : After(timeout) + std::chrono::milliseconds(timeout)) {}

    /// Milliseconds that the next wait may take.
    std::uint32_t Left() const {
        if (m_timeout == 0 || m_timeout == TNG_WAIT_FOREVER) return m_timeout;
        const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(m_end - Clock::now()).count();
        return static_cast<std::uint32_t>(std::clamp<std::int64_t>(left, 0, m_timeout));
    }

  private:
    std::uint32_t m_timeout;
    Clock::time_point m_end;
};

}  // namespace

CTNGMutex::CTNGMutex(const std::u16string& name) : m_strName(name) {
    TNG_LOG(TNG_LOG_INFO, u":constructor Called on Mutex");
    const bool bPrivate = name.empty();
    if (bPrivate) CTNGFileInfo::AppendUniqueString(m_strName);
    TNG_LOG(TNG_LOG_INFO, m_strName.c_str());
    bool bExisted = false;
    // Nobody else can know a made-up name, so nothing of the system need bear it.
    m_hSemaphore = Platform::CreateSemaphoreW(bPrivate ? nullptr : m_strName.c_str(), &bExisted);
    if (!bExisted) return;
    TNG_LOG(TNG_LOG_INFO, m_strName.c_str());
    TNG_LOG(TNG_LOG_INFO, u":Mutex already Exist");
}

CTNGMutex::~CTNGMutex() {
    if (m_hSemaphore) {
        Platform::CloseHandle(m_hSemaphore);
    }
    TNG_LOG(TNG_LOG_INFO, m_strName.c_str());
    TNG_LOG(TNG_LOG_INFO, u":Destructor Called on Mutex");
}

bool CTNGMutex::CanJoin(TNGLockType type) const {
    return m_bLocked && m_eLockType == TNG_LOCK_READ && type == TNG_LOCK_READ;
}

void CTNGMutex::Join(TNGLockType) {
    ++m_nReadCount;
}

int CTNGMutex::Lock(const TNGLockType& type, std::uint32_t timeout) {
    if (!m_hSemaphore) return 0;
    const TNGGuardLock lock(m_guard);
    const bool bCollides = m_eLockType != TNG_LOCK_NONE && m_eLockType != type;
    if (timeout == 0 && bCollides && !CanJoin(type)) return 0;
    const Limit limit(timeout);
    for (;;) {
        if (CanJoin(type)) {
            Join(type);
            return 1;
        }
        const std::uint32_t left = limit.Left();
        if (m_bLocked && timeout > 0) {
            if (left == 0 || !WaitWhileHeld(type, left, std::max(left / kLooks, 1u))) return WaitFailed();
        } else if (m_bTaking) {
            if (left == 0 || !WaitWhileAnotherTakes(left)) return LockFailed();
        } else {
            return TakeSemaphore(type, left);
        }
    }
}

int CTNGMutex::WaitFailed() const {
    TNG_LOG(TNG_LOG_INFO, m_strName.c_str());
    TNG_LOG(TNG_LOG_INFO, u":Wait failed");
    TNG_LOG(TNG_LOG_LEAVE, u"CTNGMutex::Lock");
    return 0;
}

int CTNGMutex::LockFailed() const {
    TNG_LOG(TNG_LOG_INFO, u"Mutex Lock Failed:");
    TNG_LOG(TNG_LOG_INFO, m_strName.c_str());
    return 0;
}

// One thread at a time waits for the semaphore; the others wait for what it gets, and readers then join.
bool CTNGMutex::WaitWhileAnotherTakes(std::uint32_t timeout) {
    const auto deadline = After(timeout);
    while (m_bTaking) {
        if (timeout == TNG_WAIT_FOREVER) {
            m_change.Wait(m_guard);
        } else if (!m_change.WaitUntil(m_guard, deadline) && m_bTaking) {
            return false;
        }
    }
    return true;
}

int CTNGMutex::TakeSemaphore(TNGLockType type, std::uint32_t timeout) {
    m_bTaking = true;
    m_guard.Unlock();
    const std::uint32_t end = Platform::WaitForSingleObject(m_hSemaphore, timeout);
    m_guard.Lock();
    m_bTaking = false;
    m_change.NotifyAll();
    if (end != Platform::WAIT_OBJECT_0 && end != Platform::WAIT_ABANDONED) return LockFailed();
    m_bLocked = true;
    m_eLockType = type;
    if (type == TNG_LOCK_READ) ++m_nReadCount;
    return 1;
}

int CTNGMutex::Unlock(bool bForce) {
    if (!m_hSemaphore) return 0;
    const TNGGuardLock lock(m_guard);
    if (bForce && m_bLocked) return m_nReadersTakenOver > 0 ? LeaveToReaders() : ReleaseAll();
    if (m_eLockType == TNG_LOCK_WRITE && m_nReadersTakenOver > 0) {
        --m_nReadersTakenOver;
        m_change.NotifyAll();
        return 1;
    }
    if (m_eLockType == TNG_LOCK_READ) {
        m_nReadCount = std::max(m_nReadCount - 1, 0);
        if (m_nReadCount == 0) return ReleaseAll();
        m_change.NotifyAll();
        return 1;
    }
    return m_eLockType == TNG_LOCK_WRITE ? ReleaseAll() : 1;
}

// The writer goes; the readers whose hold it had taken over have not all left.
int CTNGMutex::LeaveToReaders() {
    m_nReadCount = std::exchange(m_nReadersTakenOver, 0);
    m_eLockType = TNG_LOCK_READ;
    m_change.NotifyAll();
    return 1;
}

int CTNGMutex::ReleaseAll() {
    m_nReadCount = 0;
    m_eLockType = TNG_LOCK_NONE;
    m_bLocked = false;
    const bool bReleased = Platform::ReleaseSemaphore(m_hSemaphore);
    m_change.NotifyAll();
    return bReleased ? 1 : 0;
}

int CTNGMutex::IsLocked(TNGLockType* pType) {
    if (!m_hSemaphore) return 0;
    const TNGGuardLock lock(m_guard);
    if (pType) *pType = m_eLockType;
    return m_bLocked ? 1 : 0;
}

bool CTNGMutex::WaitUntillFree(std::uint32_t timeout, std::uint32_t sleepMs) {
    const TNGGuardLock lock(m_guard);
    return WaitWhileHeld(TNG_LOCK_NONE, timeout, std::max(sleepMs, 1u));
}

// A reader does not wait for the end of a hold that it can join: other readers could prolong that for ever.
bool CTNGMutex::IsBlocked(TNGLockType type) const {
    return m_bLocked && !CanJoin(type);
}

bool CTNGMutex::WaitWhileHeld(TNGLockType type, std::uint32_t timeout, std::uint32_t sleepMs) {
    if (!IsBlocked(type)) return true;
    if (timeout == 0) return false;
    for (std::uint64_t spent = 0;;) {
        spent += sleepMs;
        TNG_LOG(TNG_LOG_INFO, u"---WaitUntillFree-->goes to sleep---");
        const auto end = After(sleepMs);
        if (timeout == TNG_WAIT_FOREVER) {
            while (IsBlocked(type))
                m_change.Wait(m_guard);
        } else {
            while (IsBlocked(type) && m_change.WaitUntil(m_guard, end))
                continue;
        }
        if (!IsBlocked(type)) {
            TNG_LOG(TNG_LOG_INFO, u"---WaitUntillFree-->wait over---");
            return true;
        }
        if (spent >= timeout) {
            TNG_LOG(TNG_LOG_INFO, u"---WaitUntillFree-->wait failed---");
            return false;
        }
    }
}

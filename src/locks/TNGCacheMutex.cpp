#include "TNGCacheMutex.h"

#include <algorithm>
#include <thread>

#include "common/TNGLog.h"

TNGShared<std::shared_ptr<CTNGCacheMutex>> s_pCacheMutex;
std::atomic<bool> s_bCacheLockedByClient{false};
std::atomic<bool> s_bAbandonThreads{false};

namespace {

constexpr char16_t s_szLogSource[] = u"TNGCacheMutex";

constexpr std::uint32_t kLooks = 20;  // in a time-out

std::chrono::milliseconds StepOf(std::uint32_t timeout) {
    return std::chrono::milliseconds(std::max(timeout / kLooks, 1u));
}

}  // namespace

bool CTNGCacheMutex::CanJoin(TNGLockType type) const {
    return type != TNG_LOCK_NONE && m_bLocked && m_eLockType == TNG_LOCK_READ;
}

void CTNGCacheMutex::Join(TNGLockType type) {
    if (type == TNG_LOCK_READ) return CTNGMutex::Join(type);
    m_nReadersTakenOver = m_nReadCount;
    m_nReadCount = 0;
    m_eLockType = TNG_LOCK_WRITE;
    m_change.NotifyAll();
    TNG_LOG(TNG_LOG_INFO, u"Read lock on cache mutex changed to write lock.");
}

bool CTNGCacheMutex::JoinWriter(std::uint32_t timeout) {
    const TNGGuardLock lock(m_guard);
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeout);
    while (m_eLockType != TNG_LOCK_WRITE) {
        // Cleared before the writer's hold is given back: no writer is to come.
        if (!s_bCacheLockedByClient || !m_change.WaitUntil(m_guard, end)) return false;
    }
    ++m_nReadersTakenOver;
    return true;
}

bool CTNGCacheMutex::WaitUntilCacheMutexFree(std::uint32_t timeout, std::int32_t nReadersLeft) {
    const TNGGuardLock lock(m_guard);
    if (!m_bLocked || timeout == 0) return true;
    const auto over = [] {
        TNG_LOG(TNG_LOG_INFO, u"CTNGCacheMutex::WaitUntilCacheMutexFree-- Wait Over");
        return true;
    };
    const auto step = StepOf(timeout);
    for (auto spent = step;; spent += step) {
        if (m_nReadCount <= nReadersLeft) return over();
        TNG_LOG(TNG_LOG_INFO, u"CTNGCacheMutex::WaitUntilCacheMutexFree-- goes to sleep");
        const auto end = std::chrono::steady_clock::now() + step;
        while (!IsFree(nReadersLeft) && m_change.WaitUntil(m_guard, end))
            continue;
        if (IsFree(nReadersLeft)) return over();
        if (spent.count() >= timeout) return false;
    }
}

bool CTNGCacheMutex::WaitUntilJoinedHaveLeft(std::uint32_t timeout, std::int32_t nJoinedLeft) {
    const TNGGuardLock lock(m_guard);
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeout);
    while (m_nReadersTakenOver > nJoinedLeft) {
        if (!m_change.WaitUntil(m_guard, end)) return false;
    }
    return true;
}

bool CTNGCacheMutex::WaitForAbandonToFree(std::uint32_t timeout) {
    if (timeout == 0) return true;
    const auto over = [] {
        TNG_LOG(TNG_LOG_INFO, u"CTNGCacheMutex::WaitForAbandonToFree-- Wait Over");
        return true;
    };
    const auto step = StepOf(timeout);
    for (auto spent = step;; spent += step) {
        if (!s_bAbandonThreads) return over();
        TNG_LOG(TNG_LOG_INFO, u"CTNGCacheMutex::WaitForAbandonToFree-- goes to sleep");
        std::this_thread::sleep_for(step);
        if (!s_bAbandonThreads) return over();
        if (spent.count() >= timeout) return false;
    }
}

#pragma once

#include <memory>
#include <utility>

#include "locks/TNGAutoMutexPtr.h"

/// A hold of one of the short locks for a scope, waited for up to a second. The lock lives as long as the
/// hold, even if its owner drops it meanwhile. Without a lock nothing is held.
class TNGLockHold {
  public:
    TNGLockHold(std::shared_ptr<CTNGMutex> pMutex, bool bWrite)
        : m_pMutex(std::move(pMutex)), m_hold(m_pMutex.get(), bWrite, TNG_LOCK_TIMEOUT_MS, true) {}

    bool IsHeld() const { return m_hold.IsLocked() != 0; }

    void Release() { m_hold.Release(); }

  private:
    std::shared_ptr<CTNGMutex> m_pMutex;
    CTNGAutoMutexPtr m_hold;
};

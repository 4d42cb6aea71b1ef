#pragma once

#include <cstdint>

#include "locks/TNGMutex.h"

/// Takes a lock for a scope; the hold can be given up and taken again in between. On a null lock every
/// operation does nothing.
class CTNGAutoMutexPtr {
  public:
    /// Takes the lock for writing or reading if `bLockNow`. IsLocked() tells whether that worked.
    CTNGAutoMutexPtr(CTNGMutex* pMutex, bool bWrite, std::uint32_t timeout, bool bLockNow);
    ~CTNGAutoMutexPtr() { Release(); }
    CTNGAutoMutexPtr(const CTNGAutoMutexPtr&) = delete;
    CTNGAutoMutexPtr& operator=(const CTNGAutoMutexPtr&) = delete;

    /// Gives the hold back, if there is one.
    void Release();

    /// Takes the lock again, with the time-out of the constructor. 0 if that failed, and 0 if this holder has
    /// a hold already, which stays.
    int GetLocked(bool bWrite);

    int IsLocked() const { return m_bLocked; }

  private:
    int LockAs(bool bWrite);

    CTNGMutex* m_pMutex;  // not owned
    std::uint32_t m_dwTimeout;
    int m_bLocked = 0;  // there is a hold to give back
};

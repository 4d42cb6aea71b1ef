#include "TNGAutoMutexPtr.h"

#include "common/TNGLog.h"

namespace {

constexpr char16_t s_szLogSource[] = u"TNGAutoMutexPtr";

}  // namespace

CTNGAutoMutexPtr::CTNGAutoMutexPtr(CTNGMutex* pMutex, bool bWrite, std::uint32_t timeout, bool bLockNow)
    : m_pMutex(pMutex), m_dwTimeout(timeout) {
    if (!m_pMutex) return;
    if (!bLockNow) {
        TNG_LOG(TNG_LOG_INFO, u"CTNGAutoMutexPtr::ctor, mutex not required to lock initially");
        return;
    }
    m_bLocked = LockAs(bWrite);
    TNG_LOG(TNG_LOG_INFO, m_bLocked ? u"CTNGAutoMutexPtr::ctor, mutex locked"
                                    : u"CTNGAutoMutexPtr::ctor, mutex not locked!");
}

int CTNGAutoMutexPtr::LockAs(bool bWrite) {
    return m_pMutex->Lock(bWrite ? TNG_LOCK_WRITE : TNG_LOCK_READ, m_dwTimeout);
}

void CTNGAutoMutexPtr::Release() {
    if (!m_bLocked) return;
    m_pMutex->Unlock(false);
    TNG_LOG(TNG_LOG_INFO, u"CTNGAutoMutexPtr::Release, mutex unlocked");
    m_bLocked = 0;
}

int CTNGAutoMutexPtr::GetLocked(bool bWrite) {
    if (m_bLocked) return 0;
    if (m_pMutex) {
        m_bLocked = LockAs(bWrite);
        TNG_LOG(TNG_LOG_INFO, m_bLocked ? u"CTNGAutoMutexPtr::GetLocked, mutex locked"
                                        : u"CTNGAutoMutexPtr::GetLocked, unable to lock mutex");
    }
    return m_bLocked;
}

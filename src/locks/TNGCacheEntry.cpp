#include "TNGCacheEntry.h"

#include <string>

#include "common/TNGLog.h"

namespace {

// A wait is cut into pieces of this length (ms). In between the client may have taken the cache, or another
// folder have been set.
constexpr std::uint32_t kPiece = TNG_LOCK_TIMEOUT_MS;

}  // namespace

CTNGCacheEntry::CTNGCacheEntry(const char16_t* pszOperation, const char16_t* pszLogSource) {
    while (!m_bIn) {
        m_pMutex = s_pCacheMutex.Get();
        if (!m_pMutex || !m_pMutex->IsUsable()) return;
        m_bIn = s_bCacheLockedByClient ? m_pMutex->JoinWriter(kPiece) : EnterWithOwnHold();
    }
    const auto* const s_szLogSource = pszLogSource;
    TNG_LOG(TNG_LOG_INFO, (std::u16string(pszOperation) +
                           (HasOwnHold() ? u", Cache locked" : u", Cache locked by Client already"))
                              .c_str());
}

bool CTNGCacheEntry::EnterWithOwnHold() {
    m_hold.emplace(m_pMutex.get(), false, kPiece, true);
    if (m_hold->IsLocked() && m_pMutex == s_pCacheMutex.Get()) return true;
    m_hold.reset();  // nothing was held, or the lock of a folder that has been left meanwhile
    return false;
}

void CTNGCacheEntry::Leave() {
    if (!m_bIn) return;
    m_bIn = false;
    if (!HasOwnHold()) m_pMutex->Unlock(false);
    m_hold.reset();
}

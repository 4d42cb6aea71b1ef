#include "TNGCacheEntry.h"

#include <chrono>
#include <string>
#include <thread>

#include "common/TNGLog.h"

namespace {

// A wait is cut into pieces of this length (ms). In between the client may have taken the cache, or another
// folder have been set.
constexpr std::uint32_t kPiece = TNG_LOCK_TIMEOUT_MS;

// Between two looks while the cache is to be empty.
constexpr std::chrono::milliseconds kPause{2};

void LogEntry(const char16_t* pszOperation, const char16_t* s_szLogSource, bool bOwnHold) {
    try {
        TNG_LOG(TNG_LOG_INFO, (std::u16string(pszOperation) +
                               (bOwnHold ? u", Cache locked" : u", Cache locked by Client already"))
                                  .c_str());
    } catch (...) {
        return;  // no line is worth the operation
    }
}

}  // namespace

CTNGCacheEntry::CTNGCacheEntry(const char16_t* pszOperation, const char16_t* pszLogSource,
                               const std::atomic<bool>* pbStop) {
    while (!m_bIn) {
        if (pbStop && *pbStop) return;
        m_pMutex = s_pCacheMutex.Get();
        if (!m_pMutex || !m_pMutex->IsUsable()) return;
        if (s_bAbandonThreads) {
            std::this_thread::sleep_for(kPause);
            continue;
        }
        m_bIn = s_bCacheLockedByClient ? EnterUnderClient() : EnterWithOwnHold();
        if (m_bHopeless) return;
    }
    LogEntry(pszOperation, pszLogSource, HasOwnHold());
}

bool CTNGCacheEntry::EnterUnderClient() {
    if (!m_pMutex->JoinWriter(kPiece)) return false;
    if (!s_bAbandonThreads && m_pMutex == s_pCacheMutex.Get()) return true;
    m_pMutex->Unlock(false);
    return false;
}

bool CTNGCacheEntry::EnterWithOwnHold() {
    const auto start = std::chrono::steady_clock::now();
    m_hold.emplace(m_pMutex.get(), false, kPiece, true);
    // What fails at once will fail again; waiting would never end.
    m_bHopeless = !m_hold->IsLocked() && std::chrono::steady_clock::now() - start < kPause;
    // Looked at again now that the hold counts: who empties the cache sees either the hold, or this the flag.
    if (m_hold->IsLocked() && !s_bAbandonThreads && m_pMutex == s_pCacheMutex.Get()) return true;
    m_hold.reset();  // nothing was held, or the lock of a folder that is being left
    return false;
}

void CTNGCacheEntry::Leave() {
    if (!m_bIn) return;
    m_bIn = false;
    if (!HasOwnHold()) m_pMutex->Unlock(false);
    m_hold.reset();
}

#pragma once

#include <optional>

#include "locks/TNGCacheEntry.h"

/// A generation flow's stay in the cache: like an entry, but that it waits first, for at most a second, while
/// the cache is to be left alone.
class CTNGCacheVisit {
  public:
    /// `pbStop` may be null; else it ends the wait.
    CTNGCacheVisit(const char16_t* pszOperation, const char16_t* pszLogSource,
                   const std::atomic<bool>* pbStop) {
        if (!s_bAbandonThreads || CTNGCacheMutex::WaitForAbandonToFree(TNG_LOCK_TIMEOUT_MS))
            m_entry.emplace(pszOperation, pszLogSource, pbStop);
    }

    bool IsIn() const { return m_entry && m_entry->IsIn(); }

  private:
    std::optional<CTNGCacheEntry> m_entry;
};

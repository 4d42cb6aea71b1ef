#pragma once

#include <memory>
#include <optional>

#include "locks/TNGAutoMutexPtr.h"
#include "locks/TNGCacheMutex.h"

/// An operation's stay in the cache. It begins with a read hold of the cache lock, waiting as long as another
/// process has it, or, while the client holds the cache, under the client's hold.
class CTNGCacheEntry {
  public:
    /// Enters. `pszOperation` is the operation's qualified name and `pszLogSource` its layer's, for the log;
    /// both have to outlive the object. `pbStop`, if given, ends the wait. IsIn() tells whether it worked;
    /// without a cache folder it never does.
    CTNGCacheEntry(const char16_t* pszOperation, const char16_t* pszLogSource,
                   const std::atomic<bool>* pbStop = nullptr);
    ~CTNGCacheEntry() { Leave(); }
    CTNGCacheEntry(const CTNGCacheEntry&) = delete;
    CTNGCacheEntry& operator=(const CTNGCacheEntry&) = delete;

    bool IsIn() const { return m_bIn; }

    /// True if the operation has a read hold of its own, and is not under the client's.
    bool HasOwnHold() const { return m_hold.has_value(); }

    /// The lock that was entered by. It lives as long as this object.
    CTNGCacheMutex& Mutex() const { return *m_pMutex; }

    /// Gives back what was taken.
    void Leave();

  private:
    bool EnterUnderClient();
    bool EnterWithOwnHold();

    std::shared_ptr<CTNGCacheMutex> m_pMutex;
    std::optional<CTNGAutoMutexPtr> m_hold;  // of the operation's own
    bool m_bIn = false;
    bool m_bHopeless = false;
};

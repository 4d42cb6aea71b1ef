#pragma once

#include <cstdint>
#include <string>

#include "locks/OtherProcess.h"
#include "platform/Semaphores.h"
#include "support/TemporaryFolder.h"

namespace TestSupport {

/// Another process, which would like to enter a cache folder.
class Outsider {
  public:
    Outsider(const std::string& lockPlayer, const std::u16string& folder)
        : m_name(LockNameOf(folder)), m_player(lockPlayer, {m_name}) {
        m_player.Answer();
    }

    /// A process that is killed leaves the lock's file to the next one.
    ~Outsider() {
        m_player.Kill();
        bool bExisted = false;
        if (auto* pLock = Platform::CreateSemaphoreW(TextOf(m_name).c_str(), &bExisted))
            Platform::CloseHandle(pLock);
    }
    Outsider(const Outsider&) = delete;
    Outsider& operator=(const Outsider&) = delete;

    bool CanEnter() const { return m_player.Ask("take 0") == "0" && Leave(); }

    bool Enter() const { return m_player.Ask("take 1000") == "0"; }
    bool Leave() const { return m_player.Ask("release") == "1"; }

  private:
    // As docs/cache-format.md tells it.
    static std::string LockNameOf(const std::u16string& folder) {
        std::uint32_t hash = 0;
        for (const char16_t unit : folder + u"_ThumbnailGenerator")
            hash = hash * 33 + unit;
        return std::to_string(static_cast<std::int32_t>(hash));
    }

    const std::string m_name;
    OtherProcess m_player;
};

}  // namespace TestSupport

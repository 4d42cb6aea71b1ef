#include "Semaphores.h"

#include <memory>
#include <new>

#include "NamedSemaphore.h"
#include "Semaphore.h"

namespace Platform {
namespace {

// A hold that nobody outside the process can see.
class PrivateSemaphore final : public Semaphore {
  public:
    std::uint32_t Wait(std::uint32_t nMilliseconds) override {
        std::uint32_t state = kFree;
        if (m_state.compare_exchange_strong(state, kHeld, std::memory_order_acquire)) return WAIT_OBJECT_0;
        const Deadline deadline(nMilliseconds);
        while (m_state.exchange(kWaitedFor, std::memory_order_acquire) != kFree) {
            if (deadline.HasPassed()) return WAIT_TIMEOUT;
            FutexWait(m_state, kWaitedFor, deadline, FutexReach::Process);
        }
        return WAIT_OBJECT_0;
    }

    bool Release() override {
        const std::uint32_t before = m_state.exchange(kFree, std::memory_order_release);
        if (before == kWaitedFor) FutexWake(m_state, FutexReach::Process);
        return before != kFree;
    }

  private:
    static constexpr std::uint32_t kFree = 0;
    static constexpr std::uint32_t kHeld = 1;
    static constexpr std::uint32_t kWaitedFor = 2;  // held, and somebody may be asleep

    std::atomic<std::uint32_t> m_state{kFree};
};

}  // namespace

Semaphore* CreateSemaphoreW(const char16_t* pszName, bool* pbExisted) {
    *pbExisted = false;
    if (!pszName) return new (std::nothrow) PrivateSemaphore;
    return NamedSemaphore::Open(pszName, pbExisted).release();
}

std::uint32_t WaitForSingleObject(Semaphore* pSemaphore, std::uint32_t nMilliseconds) {
    return pSemaphore->Wait(nMilliseconds);
}

bool ReleaseSemaphore(Semaphore* pSemaphore) {
    return pSemaphore->Release();
}

void CloseHandle(Semaphore* pSemaphore) {
    delete pSemaphore;
}

}  // namespace Platform

#include "TNGRefresh.h"

#include <cerrno>
#include <utility>

#include "common/TNGTypes.h"
#include "platform/Semaphores.h"
#include "platform/Time.h"
#include "store/TNGCachePaths.h"
#include "store/TNGDataFile.h"

namespace {

constexpr std::uint32_t kPause = 120001;  // ms between the end of one and the next

std::atomic<bool> s_bRefreshRunning{false};
std::atomic<std::uint32_t> s_dwLastRefreshTick{0};  // at the end of the last one

}  // namespace

bool TNGRefresh::IsDue() {
    // In unsigned numbers: the count of ticks wraps around.
    return !s_bRefreshRunning && Platform::GetTickCount() - s_dwLastRefreshTick >= kPause;
}

std::uint32_t TNGRefresh::Start(std::vector<std::u16string> names) {
    const std::scoped_lock start(m_start);
    if (!IsDue() || s_bRefreshRunning.exchange(true)) return QXTNG_SUCCESS;
    Stop();
    m_names = std::move(names);
    m_bStop = false;
    m_hRefreshThread = Platform::_beginthreadex(&RefreshThreadProc, this, nullptr);
    if (!m_hRefreshThread) {
        const bool bResources = errno == EAGAIN;
        s_bRefreshRunning = false;
        return bResources ? QXTNG_ERROR_THREAD_RESOURCES : QXTNG_ERROR_FAILED;
    }
    Platform::SetThreadPriority(m_hRefreshThread, Platform::THREAD_PRIORITY_BELOW_NORMAL);
    return QXTNG_SUCCESS;
}

void TNGRefresh::Stop() {
    if (!m_hRefreshThread) return;
    m_bStop = true;
    Platform::WaitForSingleObject(m_hRefreshThread, Platform::INFINITE);
    Platform::CloseHandle(std::exchange(m_hRefreshThread, nullptr));
}

unsigned TNGRefresh::RefreshThreadProc(void* pArgument) {
    static_cast<const TNGRefresh*>(pArgument)->TouchFiles();
    s_dwLastRefreshTick = Platform::GetTickCount();
    s_bRefreshRunning = false;
    return 0;
}

void TNGRefresh::TouchFiles() const {
    try {
        for (const std::u16string& name : m_names) {
            if (m_bStop) return;
            CTNGDataFile().TouchFile(CachePath(name));
        }
    } catch (...) {
        return;  // what has not been read is read when it is needed
    }
}

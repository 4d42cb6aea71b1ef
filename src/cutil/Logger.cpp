#include "Logger.h"

#include <atomic>
#include <mutex>
#include <shared_mutex>

namespace QxzCUtil {
namespace {

// 0 while there is no sink: a caller that sees it does not look further.
std::atomic<std::uint32_t> s_nLevelMask{0};

std::shared_mutex s_sinkGuard;
LogSink s_pfnSink = nullptr;  // guarded by s_sinkGuard
void* s_pContext = nullptr;   // guarded by s_sinkGuard

}  // namespace

bool CLogger::IsLevelOn(std::uint32_t nLevel) {
    return nLevel < 32 && (s_nLevelMask.load(std::memory_order_relaxed) >> nLevel & 1u) != 0;
}

void CLogger::LogMessage(std::uint32_t nLevel, const char16_t* pszText, const char16_t* pszModule,
                         const char16_t* pszSource, std::uint32_t nLine) {
    if (!IsLevelOn(nLevel)) return;
    const std::shared_lock lock(s_sinkGuard);
    try {
        if (s_pfnSink) s_pfnSink(s_pContext, nLevel, pszText, pszModule, pszSource, nLine);
    } catch (...) {
        // A sink's trouble is not that of whoever logs.
    }
}

void CLogger::SetSink(LogSink pfnSink, void* pContext, std::uint32_t nLevelMask) {
    // Silent first: otherwise threads that keep logging could keep the guard from ever being free.
    s_nLevelMask.store(0, std::memory_order_relaxed);
    const std::unique_lock lock(s_sinkGuard);
    s_pfnSink = pfnSink;
    s_pContext = pContext;
    s_nLevelMask.store(pfnSink ? nLevelMask : 0, std::memory_order_relaxed);
}

}  // namespace QxzCUtil

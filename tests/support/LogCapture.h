#pragma once

#include <algorithm>
#include <cstdint>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "cutil/Logger.h"
#include "platform/Text.h"

namespace TestSupport {

/// Collects the lines of the log, as level, blank, text, as long as the object is there.
class LogCapture {
  public:
    explicit LogCapture(std::uint32_t nLevelMask = ~0u) {
        QxzCUtil::CLogger::SetSink(&Collect, this, nLevelMask);
    }
    ~LogCapture() { QxzCUtil::CLogger::SetSink(nullptr, nullptr, 0); }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    /// The lines since the last call.
    std::vector<std::string> Take() {
        const std::scoped_lock lock(m_guard);
        return std::exchange(m_lines, {});
    }

    /// Whether a line was written since the last Take().
    bool Has(const std::string& line) const {
        const std::scoped_lock lock(m_guard);
        return std::ranges::find(m_lines, line) != m_lines.end();
    }

  private:
    static void Collect(void* pContext, std::uint32_t nLevel, const char16_t* pszText, const char16_t*,
                        const char16_t*, std::uint32_t) {
        auto& capture = *static_cast<LogCapture*>(pContext);
        const std::scoped_lock lock(capture.m_guard);
        capture.m_lines.push_back(std::to_string(nLevel) + ' ' + Platform::PathToBytes(pszText));
    }

    mutable std::mutex m_guard;
    std::vector<std::string> m_lines;  // guarded by m_guard
};

}  // namespace TestSupport

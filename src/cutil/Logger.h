#pragma once

#include <cstdint>

#include "Export.h"

namespace QxzCUtil {

/// Receives one log line. Runs on the thread that logs, several threads at once. It must not call the
/// thumbnail library, nor CLogger::SetSink(); what it throws is dropped. The texts are valid during the call
/// only.
using LogSink = void (*)(void* pContext, std::uint32_t nLevel, const char16_t* pszText,
                         const char16_t* pszModule, const char16_t* pszSource, std::uint32_t nLine);

/// The log of the process: silent until somebody sets a sink.
class QXCUTIL_API CLogger {
  public:
    /// Gives one line to the sink, if there is one for this level.
    static void LogMessage(std::uint32_t nLevel, const char16_t* pszText, const char16_t* pszModule,
                           const char16_t* pszSource, std::uint32_t nLine);

    /// Whether a line of this level would reach a sink; costs one relaxed load. For texts that take work
    /// to build.
    static bool IsLevelOn(std::uint32_t nLevel);

    /// Sets the sink for all levels n whose bit 1 << n is in `nLevelMask`, in place of the one before;
    /// null takes it away. When this returns, the sink before is no longer running and never will again.
    static void SetSink(LogSink pfnSink, void* pContext, std::uint32_t nLevelMask);
};

}  // namespace QxzCUtil

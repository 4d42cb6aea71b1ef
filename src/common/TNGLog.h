#pragma once

#include "cutil/Logger.h"

/// Levels of the library's log lines.
enum TNGLogLevel : unsigned {
    TNG_LOG_ENTER = 1,      // a function was entered
    TNG_LOG_LEAVE = 2,      // a function was left
    TNG_LOG_EXCEPTION = 4,  // an exception was caught
    TNG_LOG_ERROR = 5,      // a fault that the program goes on from
    TNG_LOG_INFO = 6,       // trace text
};

/// Logs `text` (UTF-16) if somebody listens at `level`; only then is `text` evaluated. A source file that
/// logs defines `s_szLogSource`, the name of its layer.
#define TNG_LOG(level, text)                                                                    \
    do {                                                                                        \
        if (::QxzCUtil::CLogger::IsLevelOn(level))                                              \
            ::QxzCUtil::CLogger::LogMessage(level, text, u"qxzthbg2", s_szLogSource, __LINE__); \
    } while (false)

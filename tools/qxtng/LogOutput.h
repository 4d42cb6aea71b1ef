#pragma once

#include "Arguments.h"

namespace Client {

/// While it lives, the library's log goes to standard error, one line each.
class LogOutput {
  public:
    explicit LogOutput(LogDetail detail);
    ~LogOutput();
    LogOutput(const LogOutput&) = delete;
    LogOutput& operator=(const LogOutput&) = delete;
};

}  // namespace Client

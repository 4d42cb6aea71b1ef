#pragma once

namespace Client {

enum class LogDetail { None, Error, Info, All };

/// While it lives, the library's log goes to standard error, one line each.
class LogOutput {
  public:
    explicit LogOutput(LogDetail detail);
    ~LogOutput();
    LogOutput(const LogOutput&) = delete;
    LogOutput& operator=(const LogOutput&) = delete;
};

}  // namespace Client

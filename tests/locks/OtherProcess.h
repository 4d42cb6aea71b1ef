#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace TestSupport {

/// A program of the tests in a process of its own. It is told what to do by lines, and answers by lines.
class OtherProcess {
  public:
    OtherProcess(const std::string& program, std::vector<std::string> arguments);
    ~OtherProcess() { Kill(); }
    OtherProcess(const OtherProcess&) = delete;
    OtherProcess& operator=(const OtherProcess&) = delete;

    void Tell(const std::string& line) const;

    /// The next line that it says; empty if it has ended.
    std::string Answer() const;

    std::string Ask(const std::string& line) const {
        Tell(line);
        return Answer();
    }

    /// Ends it with SIGKILL, unless it has ended; when this returns, it is gone.
    void Kill();

  private:
    pid_t m_process = -1;
    int m_nSocket = -1;
};

}  // namespace TestSupport

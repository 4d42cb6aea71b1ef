#pragma once

#include <unistd.h>

#include <filesystem>
#include <string>

#include "support/TemporaryFolder.h"

namespace TestSupport {

/// A name that only this test uses, with the file that stands for it while it is open.
class LockName {
  public:
    LockName() : m_text("test-" + std::to_string(getpid()) + '-' + std::to_string(s_nNext++)) {}
    ~LockName() { std::filesystem::remove(File()); }
    LockName(const LockName&) = delete;
    LockName& operator=(const LockName&) = delete;

    const std::string& Bytes() const { return m_text; }
    std::u16string Text() const { return TextOf(m_text); }
    std::filesystem::path File() const {
        return "/dev/shm/qxtng-" + std::to_string(geteuid()) + '-' + m_text;
    }

  private:
    static inline int s_nNext = 0;
    std::string m_text;
};

}  // namespace TestSupport

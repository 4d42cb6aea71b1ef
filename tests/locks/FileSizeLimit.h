#pragma once

#include <sys/resource.h>

#include <csignal>

namespace TestSupport {

/// No file of this process grows beyond so many bytes, as long as the object is there: writes fail, as they
/// do on a full disk.
class FileSizeLimit {
  public:
    explicit FileSizeLimit(std::size_t nBytes) {
        std::signal(SIGXFSZ, SIG_IGN);
        getrlimit(RLIMIT_FSIZE, &m_before);
        const rlimit limit{nBytes, m_before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileSizeLimit() { setrlimit(RLIMIT_FSIZE, &m_before); }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

  private:
    rlimit m_before{};
};

}  // namespace TestSupport

#pragma once

#include <sys/resource.h>
#include <unistd.h>

namespace TestSupport {

/// This process can have only so many files open in addition to those it has, as long as the object is there.
class DescriptorLimit {
  public:
    explicit DescriptorLimit(unsigned nLeft) {
        getrlimit(RLIMIT_NOFILE, &m_before);
        const int nFirstFree = dup(STDERR_FILENO);
        close(nFirstFree);
        const rlimit limit{static_cast<rlim_t>(nFirstFree) + nLeft, m_before.rlim_max};
        setrlimit(RLIMIT_NOFILE, &limit);
    }
    ~DescriptorLimit() { setrlimit(RLIMIT_NOFILE, &m_before); }
    DescriptorLimit(const DescriptorLimit&) = delete;
    DescriptorLimit& operator=(const DescriptorLimit&) = delete;

  private:
    rlimit m_before{};
};

}  // namespace TestSupport

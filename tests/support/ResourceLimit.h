#pragma once

#include <sys/resource.h>
#include <unistd.h>

#include <csignal>
#include <cstddef>

namespace TestSupport {

/// A limit of this process, as long as the object is there.
class ResourceLimit {
  public:
    ~ResourceLimit() { setrlimit(m_resource, &m_before); }
    ResourceLimit(const ResourceLimit&) = delete;
    ResourceLimit& operator=(const ResourceLimit&) = delete;

  protected:
    ResourceLimit(__rlimit_resource resource, rlim_t value) : m_resource(resource) {
        getrlimit(m_resource, &m_before);
        const rlimit limit{value, m_before.rlim_max};
        setrlimit(m_resource, &limit);
    }

  private:
    __rlimit_resource m_resource;
    rlimit m_before{};
};

/// No file grows beyond so many bytes: writes fail, as they do on a full disk.
class FileSizeLimit : public ResourceLimit {
  public:
    explicit FileSizeLimit(std::size_t nBytes) : ResourceLimit(RLIMIT_FSIZE, nBytes) {
        std::signal(SIGXFSZ, SIG_IGN);
    }
};

/// Only so many files can be opened in addition to those that are open.
class DescriptorLimit : public ResourceLimit {
  public:
    explicit DescriptorLimit(unsigned nLeft) : ResourceLimit(RLIMIT_NOFILE, FirstFree() + nLeft) {}

  private:
    static rlim_t FirstFree() {
        const int nFirstFree = dup(STDERR_FILENO);
        close(nFirstFree);
        return static_cast<rlim_t>(nFirstFree);
    }
};

}  // namespace TestSupport

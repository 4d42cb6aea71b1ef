#pragma once

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <string>
#include <system_error>

namespace TestSupport {

/// A plain record in a file that processes map together.
template <typename T>
class Shared {
  public:
    explicit Shared(const std::string& path) {
        const int nDescriptor = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
        void* pMemory = MAP_FAILED;
        if (nDescriptor >= 0 && ftruncate(nDescriptor, sizeof(T)) == 0)
            pMemory = mmap(nullptr, sizeof(T), PROT_READ | PROT_WRITE, MAP_SHARED, nDescriptor, 0);
        if (pMemory == MAP_FAILED) throw std::system_error(errno, std::generic_category(), path);
        close(nDescriptor);
        m_pRecord = static_cast<T*>(pMemory);
    }
    ~Shared() { munmap(const_cast<std::remove_volatile_t<T>*>(m_pRecord), sizeof(T)); }
    Shared(const Shared&) = delete;
    Shared& operator=(const Shared&) = delete;

    T* operator->() const { return m_pRecord; }

  private:
    T* m_pRecord;
};

/// What players count under a lock. Who finds `bInside` set follows one who was killed at it, and puts the
/// sum right; without the lock, many would find it so.
struct Ledger {
    static constexpr std::size_t kPlayers = 4;

    std::int64_t bInside;
    std::int64_t nRepairs;
    std::int64_t nSum;
    std::int64_t counts[kPlayers];

    std::int64_t Total() const volatile {
        std::int64_t total = 0;
        for (std::size_t i = 0; i < kPlayers; ++i)
            total += counts[i];
        return total;
    }

    void Repair() volatile {
        if (!bInside) return;
        nRepairs = nRepairs + 1;
        nSum = Total();
        bInside = 0;
    }
};

}  // namespace TestSupport

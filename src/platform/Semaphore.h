#pragma once

#include <atomic>
#include <cstdint>
#include <ctime>

/// What is behind the semaphores, for this layer alone.
namespace Platform {

class Semaphore {
  public:
    virtual ~Semaphore() = default;
    virtual std::uint32_t Wait(std::uint32_t nMilliseconds) = 0;
    virtual bool Release() = 0;
};

/// A point in time to wait until.
class Deadline {
  public:
    /// So many milliseconds from now; 0xFFFFFFFF: never.
    explicit Deadline(std::uint32_t nMilliseconds);

    bool HasPassed() const;

    /// What is left, but no more than `nMost` milliseconds.
    timespec Left(std::int64_t nMost) const;

  private:
    static constexpr std::int64_t kNever = INT64_MAX;

    std::int64_t m_nNanoseconds;  // of the monotonic clock
};

enum class FutexReach { Process, AllProcesses };

/// Sleeps while the word has the value, until woken, the deadline, or `nMost` milliseconds; may wake early.
void FutexWait(std::atomic<std::uint32_t>& word, std::uint32_t value, const Deadline& deadline,
               FutexReach reach, std::int64_t nMost = INT64_MAX / 1'000'000);

/// Wakes one waiter within the process, or all of all processes.
void FutexWake(std::atomic<std::uint32_t>& word, FutexReach reach);

}  // namespace Platform

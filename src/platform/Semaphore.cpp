#include "Semaphore.h"

#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <climits>

namespace Platform {
namespace {

constexpr std::int64_t kPerSecond = 1'000'000'000;
constexpr std::int64_t kPerMillisecond = 1'000'000;
constexpr std::uint32_t kForever = 0xFFFFFFFF;

std::int64_t Now() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * kPerSecond + now.tv_nsec;
}

int WithReach(int operation, FutexReach reach) {
    return reach == FutexReach::Process ? operation | FUTEX_PRIVATE_FLAG : operation;
}

}  // namespace

Deadline::Deadline(std::uint32_t nMilliseconds)
    : m_nNanoseconds(nMilliseconds == kForever ? kNever
                     : nMilliseconds == 0      ? 0
                                               : Now() + nMilliseconds * kPerMillisecond) {}

bool Deadline::HasPassed() const {
    return m_nNanoseconds != kNever && (m_nNanoseconds == 0 || Now() >= m_nNanoseconds);
}

timespec Deadline::Left(std::int64_t nMost) const {
    const std::int64_t most = nMost * kPerMillisecond;
    const std::int64_t left =
        m_nNanoseconds == kNever ? most : std::clamp<std::int64_t>(m_nNanoseconds - Now(), 0, most);
    return {static_cast<time_t>(left / kPerSecond), static_cast<long>(left % kPerSecond)};
}

void FutexWait(std::atomic<std::uint32_t>& word, std::uint32_t value, const Deadline& deadline,
               FutexReach reach, std::int64_t nMost) {
    const timespec left = deadline.Left(nMost);
    syscall(SYS_futex, &word, WithReach(FUTEX_WAIT, reach), value, &left, nullptr, 0);
}

void FutexWake(std::atomic<std::uint32_t>& word, FutexReach reach) {
    const int waiters = reach == FutexReach::Process ? 1 : INT_MAX;
    syscall(SYS_futex, &word, WithReach(FUTEX_WAKE, reach), waiters, nullptr, nullptr, 0);
}

}  // namespace Platform

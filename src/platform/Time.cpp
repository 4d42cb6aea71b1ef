#include "Time.h"

namespace Platform {
namespace {

constexpr std::int64_t kNanosecondsPerSecond = 1'000'000'000;
constexpr std::uint64_t kIntervalsPerSecond = 10'000'000;
constexpr std::uint64_t kSecondsFrom1601To1970 = 11'644'473'600;

std::uint64_t AsNumber(const FILETIME& time) {
    return (std::uint64_t{time.dwHighDateTime} << 32) | time.dwLowDateTime;
}

FILETIME FromNumber(std::uint64_t intervals) {
    return {static_cast<std::uint32_t>(intervals), static_cast<std::uint32_t>(intervals >> 32)};
}

std::int64_t MonotonicNanoseconds() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * kNanosecondsPerSecond + now.tv_nsec;
}

}  // namespace

FILETIME FileTimeFromTimespec(const timespec& time) {
    // In unsigned numbers: files can bear dates that no file time reaches.
    const std::uint64_t seconds = static_cast<std::uint64_t>(time.tv_sec) + kSecondsFrom1601To1970;
    return FromNumber(seconds * kIntervalsPerSecond + static_cast<std::uint64_t>(time.tv_nsec) / 100);
}

void GetSystemTimePreciseAsFileTime(FILETIME* pTime) {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    *pTime = FileTimeFromTimespec(now);
}

void WaitUntilStampIsPast(const FILETIME& time) {
    timespec tick{};
    clock_getres(CLOCK_REALTIME_COARSE, &tick);
    const auto intervals = static_cast<std::uint64_t>(tick.tv_nsec) / 100;
    for (;;) {
        timespec stamp{};
        clock_gettime(CLOCK_REALTIME_COARSE, &stamp);
        const std::uint64_t now = AsNumber(FileTimeFromTimespec(stamp));
        // A time that lies further ahead was set by somebody, and says nothing.
        if (now > AsNumber(time) || AsNumber(time) - now > 2 * intervals) return;
        const timespec pause{0, static_cast<long>(tick.tv_nsec / 4)};
        nanosleep(&pause, nullptr);
    }
}

FILETIME NextFileTime(const FILETIME& time) {
    const std::uint64_t number = AsNumber(time);
    return FromNumber(number == UINT64_MAX ? number : number + 1);
}

int CompareFileTime(const FILETIME* pFirst, const FILETIME* pSecond) {
    const std::uint64_t first = AsNumber(*pFirst);
    const std::uint64_t second = AsNumber(*pSecond);
    return first < second ? -1 : first > second ? 1 : 0;
}

bool QueryPerformanceCounter(std::int64_t* pCount) {
    *pCount = MonotonicNanoseconds() / 100;
    return true;
}

bool QueryPerformanceFrequency(std::int64_t* pTicksPerSecond) {
    *pTicksPerSecond = kIntervalsPerSecond;
    return true;
}

std::uint32_t GetTickCount() {
    return static_cast<std::uint32_t>(MonotonicNanoseconds() / 1'000'000);
}

}  // namespace Platform

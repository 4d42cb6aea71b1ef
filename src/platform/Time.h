#pragma once

#include <cstdint>
#include <ctime>

#include "Export.h"

namespace Platform {

/// A point in time: 100-nanosecond intervals since 1 January 1601 UTC, in two halves.
struct FILETIME {
    std::uint32_t dwLowDateTime = 0;
    std::uint32_t dwHighDateTime = 0;
};

QXPLATFORM_API FILETIME FileTimeFromTimespec(const timespec& time);

/// -1, 0 or 1: the first is earlier, equal or later.
QXPLATFORM_API int CompareFileTime(const FILETIME* pFirst, const FILETIME* pSecond);

/// The present time, as precisely as the system knows it.
QXPLATFORM_API void GetSystemTimePreciseAsFileTime(FILETIME* pTime);

/// The time 100 ns later; the latest time there is stays.
QXPLATFORM_API FILETIME NextFileTime(const FILETIME& time);

/// Waits until the clock by which the system stamps files has moved past a file's time, if that time is of
/// this very tick (some milliseconds): what is written to the file from then on bears a later time.
QXPLATFORM_API void WaitUntilStampIsPast(const FILETIME& time);

/// A clock that only goes forward, in ticks; QueryPerformanceFrequency() says how many make a second.
/// Both answer true.
QXPLATFORM_API bool QueryPerformanceCounter(std::int64_t* pCount);
QXPLATFORM_API bool QueryPerformanceFrequency(std::int64_t* pTicksPerSecond);

/// Milliseconds since the machine started; wraps around after 49.7 days.
QXPLATFORM_API std::uint32_t GetTickCount();

}  // namespace Platform

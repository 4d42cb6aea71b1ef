#pragma once

#include <cstdint>

#include "Export.h"

namespace Platform {

class Thread;

inline constexpr int THREAD_PRIORITY_NORMAL = 0;
inline constexpr int THREAD_PRIORITY_BELOW_NORMAL = -1;

inline constexpr std::uint32_t STILL_ACTIVE = 259;  // exit code of a thread that runs

using ThreadProc = unsigned (*)(void* pArgument);

/// Starts a thread on `pfnProc`; its result is the exit code. `pnThreadId` may be null, else it receives a
/// number that no other running thread of the system has. Null, with errno set (EAGAIN for lack of
/// resources), if no thread can be had. The handle is released with CloseHandle().
QXPLATFORM_API Thread* _beginthreadex(ThreadProc pfnProc, void* pArgument, unsigned* pnThreadId);

/// The number of the calling thread, as _beginthreadex() gives it.
QXPLATFORM_API unsigned GetCurrentThreadId();

/// Steps below normal priority cost a thread its share of a busy processor. False if the system refuses.
QXPLATFORM_API bool SetThreadPriority(Thread* pThread, int nPriority);

/// STILL_ACTIVE while the thread runs. True.
QXPLATFORM_API bool GetExitCodeThread(Thread* pThread, std::uint32_t* pnExitCode);

/// Waits for the end of a thread: WAIT_OBJECT_0 once nothing of it is left, or WAIT_TIMEOUT (see
/// Semaphores.h). One thread at a time may wait for another.
QXPLATFORM_API std::uint32_t WaitForSingleObject(Thread* pThread, std::uint32_t nMilliseconds);

/// Releases the handle; a thread that runs goes on.
QXPLATFORM_API void CloseHandle(Thread* pThread);

}  // namespace Platform

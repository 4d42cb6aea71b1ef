#pragma once

#include <cstdint>

#include "Export.h"

namespace Platform {

class Semaphore;

inline constexpr std::uint32_t INFINITE = 0xFFFFFFFF;  // no limit of time

enum : std::uint32_t {
    WAIT_OBJECT_0 = 0,
    WAIT_ABANDONED = 128,
    WAIT_TIMEOUT = 258,
    WAIT_FAILED = 0xFFFFFFFF,
};

/// Makes a binary semaphore, free at first. Without a name (null) it belongs to this object alone, costs
/// some bytes and no descriptor. With one it is shared by all processes of the user that open the name, goes
/// with its last object, and a hold ends at the latest with the process that has it.
/// `*pbExisted` receives whether another object of that name is open already. Null if it cannot be made.
/// A named object is of use in the process that made it, not in a child that is forked from it.
QXPLATFORM_API Semaphore* CreateSemaphoreW(const char16_t* pszName, bool* pbExisted);

/// Takes the semaphore, waiting at most `nMilliseconds`. WAIT_OBJECT_0, WAIT_TIMEOUT or WAIT_FAILED. Threads
/// of one process wait through the same object.
QXPLATFORM_API std::uint32_t WaitForSingleObject(Semaphore* pSemaphore, std::uint32_t nMilliseconds);

/// Gives the semaphore back; any thread may. False if this object does not hold it.
QXPLATFORM_API bool ReleaseSemaphore(Semaphore* pSemaphore);

/// Destroys the object, and gives back what it holds. Nobody may be using it.
QXPLATFORM_API void CloseHandle(Semaphore* pSemaphore);

}  // namespace Platform

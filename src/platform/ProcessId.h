#pragma once

#include <sys/types.h>

namespace Platform {

/// getpid() without the system call, in a forked child, too.
pid_t ProcessId();

}  // namespace Platform

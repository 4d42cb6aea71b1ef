#include "ProcessId.h"

#include <sys/mman.h>
#include <unistd.h>

#include <atomic>

namespace Platform {
namespace {

// A page of memory that a forked child finds emptied, however it was forked.
struct alignas(4096) WipedPage {
    std::atomic<pid_t> process;
};
constinit WipedPage s_page{};

bool IsWipedOnFork() {
    static const bool s_bWiped = madvise(&s_page, sizeof s_page, MADV_WIPEONFORK) == 0;
    return s_bWiped;
}

}  // namespace

pid_t ProcessId() {
    if (!IsWipedOnFork()) return getpid();
    pid_t process = s_page.process.load(std::memory_order_relaxed);
    if (process == 0) {
        process = getpid();
        s_page.process.store(process, std::memory_order_relaxed);
    }
    return process;
}

}  // namespace Platform

#include "NamedSemaphore.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <new>
#include <utility>

#include "ProcessId.h"
#include "Semaphores.h"
#include "Text.h"

namespace Platform {
namespace {

constexpr std::size_t kPageBytes = 4096;
constexpr std::int64_t kSlice = 50;  // ms: how late the death of a holder is noticed

std::string PathOf(const char16_t* pszName) {
    std::string name = PathToBytes(pszName);
    std::ranges::replace(name, '/', '_');
    return "/dev/shm/qxtng-" + std::to_string(geteuid()) + '-' + name;
}

// The record lock by which an object says that it is there. Open file description locks do not meet flock().
bool SetPresence(int nDescriptor, short type, bool bWait) {
    struct flock lock {};
    lock.l_type = type;
    lock.l_whence = SEEK_SET;
    int result = 0;
    do {
        result = fcntl(nDescriptor, bWait ? F_OFD_SETLKW : F_OFD_SETLK, &lock);
    } while (result != 0 && errno == EINTR);
    return result == 0;
}

// Not somebody else's file, nor one that has another name, too.
bool IsOwnRegularFile(int nDescriptor) {
    struct stat status {};
    return fstat(nDescriptor, &status) == 0 && S_ISREG(status.st_mode) && status.st_uid == geteuid() &&
           status.st_nlink <= 1;
}

bool IsAnotherPresent(int nDescriptor) {
    struct flock lock {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    return fcntl(nDescriptor, F_OFD_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
}

bool TryFlock(int nDescriptor) {
    int result = 0;
    do {
        result = flock(nDescriptor, LOCK_EX | LOCK_NB);
    } while (result != 0 && errno == EINTR);
    return result == 0;
}

// A page that is not there when it is touched costs the process its life, so its memory is taken before.
bool ReservePage(int nDescriptor) {
    int error = 0;
    do {
        error = posix_fallocate(nDescriptor, 0, kPageBytes);
    } while (error == EINTR);
    return error == 0;
}

}  // namespace

NamedSemaphore::NamedSemaphore(std::string path) : m_path(std::move(path)), m_owner(ProcessId()) {}

std::unique_ptr<NamedSemaphore> NamedSemaphore::Open(const char16_t* pszName, bool* pbExisted) {
    std::unique_ptr<NamedSemaphore> pSemaphore(new (std::nothrow) NamedSemaphore(PathOf(pszName)));
    const int nDescriptor = pSemaphore ? pSemaphore->OpenFile() : -1;
    if (nDescriptor < 0) return nullptr;
    pSemaphore->Adopt(nDescriptor);
    *pbExisted = IsAnotherPresent(pSemaphore->m_nDescriptor);
    return pSemaphore->MapPage() ? std::move(pSemaphore) : nullptr;
}

// The file may be removed by its last object between being opened here and being marked as in use.
int NamedSemaphore::OpenFile() const {
    for (;;) {
        const int nDescriptor =
            open(m_path.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK, 0600);
        if (nDescriptor < 0) return -1;
        const bool bUsable = IsOwnRegularFile(nDescriptor) && SetPresence(nDescriptor, F_RDLCK, true);
        if (bUsable && IsAtPath(IdentityOf(nDescriptor))) return nDescriptor;
        close(nDescriptor);
        if (!bUsable) return -1;
    }
}

// The page stays where it is: other threads may be waiting at it. One that does so at the old file's looks
// again when its slice is over.
bool NamedSemaphore::Reopen() {
    const int nDescriptor = OpenFile();
    if (nDescriptor < 0) return false;
    if (!ReservePage(nDescriptor) || mmap(m_pShared, kPageBytes, PROT_READ | PROT_WRITE,
                                          MAP_SHARED | MAP_FIXED, nDescriptor, 0) == MAP_FAILED) {
        close(nDescriptor);
        return false;
    }
    Adopt(nDescriptor);
    m_pShared->waiters += m_nWaiting;  // of this object, counted in the old page until now
    return true;
}

NamedSemaphore::Identity NamedSemaphore::IdentityOf(int nDescriptor) {
    struct stat status {};
    if (fstat(nDescriptor, &status) != 0) return {};
    return {status.st_dev, status.st_ino};
}

bool NamedSemaphore::IsAtPath(const Identity& file) const {
    struct stat there {};
    return lstat(m_path.c_str(), &there) == 0 && there.st_ino == file.inode && there.st_dev == file.device;
}

void NamedSemaphore::Adopt(int nDescriptor) {
    if (m_nDescriptor >= 0) close(m_nDescriptor);
    m_nDescriptor = nDescriptor;
    m_file = IdentityOf(nDescriptor);
}

bool NamedSemaphore::MapPage() {
    if (!ReservePage(m_nDescriptor)) return false;
    void* pPage = mmap(nullptr, kPageBytes, PROT_READ | PROT_WRITE, MAP_SHARED, m_nDescriptor, 0);
    if (pPage == MAP_FAILED) return false;
    static_assert(std::atomic<std::uint32_t>::is_always_lock_free);
    m_pShared = static_cast<Shared*>(pPage);
    return true;
}

bool NamedSemaphore::IsOfThisProcess() const {
    return ProcessId() == m_owner;
}

NamedSemaphore::~NamedSemaphore() {
    Release();
    if (m_pShared) munmap(m_pShared, kPageBytes);
    if (m_nDescriptor < 0) return;
    if (IsOfThisProcess()) {
        // Given up first: of two objects that go at once, one then finds itself alone.
        SetPresence(m_nDescriptor, F_UNLCK, false);
        if (SetPresence(m_nDescriptor, F_WRLCK, false) && IsFileAtPath()) unlink(m_path.c_str());
    }
    close(m_nDescriptor);
}

std::uint32_t NamedSemaphore::Wait(std::uint32_t nMilliseconds) {
    if (!IsOfThisProcess()) return WAIT_FAILED;
    if (TryTake()) return WAIT_OBJECT_0;
    const Deadline deadline(nMilliseconds);
    ++m_nWaiting;
    ++m_pShared->waiters;
    const std::uint32_t end = WaitAsleep(deadline);
    --m_pShared->waiters;
    --m_nWaiting;
    return end;
}

std::uint32_t NamedSemaphore::WaitAsleep(const Deadline& deadline) {
    for (;;) {
        // Read before the try: a release in between changes it, and the sleep does not begin.
        const std::uint32_t releases = m_pShared->releases;
        if (TryTake()) return WAIT_OBJECT_0;
        if (deadline.HasPassed()) return WAIT_TIMEOUT;
        FutexWait(m_pShared->releases, releases, deadline, FutexReach::AllProcesses, kSlice);
    }
}

// flock() grants a descriptor what it holds already, so threads have to be kept apart here.
bool NamedSemaphore::TryTake() {
    Hold hold = Hold::None;
    if (!m_hold.compare_exchange_strong(hold, Hold::Changing)) return false;
    const bool bTaken = TakeFile();
    m_hold.store(bTaken ? Hold::Held : Hold::None);
    return bTaken;
}

bool NamedSemaphore::TakeFile() {
    while (TryFlock(m_nDescriptor)) {
        if (IsFileAtPath()) return true;
        flock(m_nDescriptor, LOCK_UN);
        if (!Reopen()) return false;
    }
    return false;
}

bool NamedSemaphore::Release() {
    if (!IsOfThisProcess()) return false;
    Hold hold = Hold::Held;
    if (!m_hold.compare_exchange_strong(hold, Hold::Changing)) return false;
    const bool bReleased = flock(m_nDescriptor, LOCK_UN) == 0;
    m_hold.store(Hold::None);
    ++m_pShared->releases;
    if (m_pShared->waiters != 0) FutexWake(m_pShared->releases, FutexReach::AllProcesses);
    return bReleased;
}

}  // namespace Platform

#pragma once

#include <sys/types.h>

#include <memory>
#include <string>

#include "Semaphore.h"

namespace Platform {

/// A semaphore that processes share: one lock file per name and user, in memory.
///
/// The hold is flock() on this object's own descriptor, so the kernel ends the hold of a process that dies.
/// A word in the file's page, shared by all, wakes waiters at a release; since a death wakes nobody, each
/// wait is cut into slices. The last object to go removes the file: every object has a shared record lock on
/// it, and only one that can have it alone is the last. A file that somebody else removes keeps nobody apart:
/// who takes it then goes over to the one that is in its place.
///
/// The locks belong to the open file, which a forked child shares. There the object is dead: it takes and
/// releases nothing, and when it goes, the parent's hold and the file stay.
class NamedSemaphore final : public Semaphore {
  public:
    /// Null if the file cannot be made, there is no memory for it, or it is not a regular file of this user.
    static std::unique_ptr<NamedSemaphore> Open(const char16_t* pszName, bool* pbExisted);
    ~NamedSemaphore() override;
    NamedSemaphore(const NamedSemaphore&) = delete;
    NamedSemaphore& operator=(const NamedSemaphore&) = delete;

    std::uint32_t Wait(std::uint32_t nMilliseconds) override;
    bool Release() override;

  private:
    explicit NamedSemaphore(std::string path);

    // Which file it is.
    struct Identity {
        std::uint64_t device = 0;
        std::uint64_t inode = 0;
    };
    static Identity IdentityOf(int nDescriptor);

    int OpenFile() const;
    void Adopt(int nDescriptor);
    bool Reopen();
    bool IsAtPath(const Identity& file) const;
    bool IsFileAtPath() const { return IsAtPath(m_file); }
    bool MapPage();
    bool IsOfThisProcess() const;
    bool TryTake();
    bool TakeFile();
    std::uint32_t WaitAsleep(const Deadline& deadline);

    std::string m_path;
    pid_t m_owner;  // the process that made the object
    int m_nDescriptor = -1;
    Identity m_file;
    // What the page holds for all processes.
    struct Shared {
        std::atomic<std::uint32_t> releases;
        std::atomic<std::uint32_t> waiters;  // that may be asleep; too high once one has been killed
    };
    Shared* m_pShared = nullptr;
    std::atomic<std::uint32_t> m_nWaiting{0};  // of m_pShared->waiters those of this object, or more

    enum class Hold { None, Changing, Held };
    std::atomic<Hold> m_hold{Hold::None};  // of this object; who sets Changing settles it
};

}  // namespace Platform

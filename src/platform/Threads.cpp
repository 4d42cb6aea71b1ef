#include "Threads.h"

#include <pthread.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <memory>
#include <new>

#include "Semaphore.h"
#include "Semaphores.h"

namespace Platform {
namespace {

// What a thread and its handle share.
struct Run {
    ThreadProc pfnProc;
    void* pArgument;
    std::atomic<std::uint32_t> nId{0};  // of the kernel; 0 until the thread has begun
    std::atomic<std::uint32_t> nExitCode{STILL_ACTIVE};
    std::atomic<std::uint32_t> nOver{0};
};

using RunPtr = std::shared_ptr<Run>;

void* RunThread(void* pShared) {
    const std::unique_ptr<RunPtr> pOwn(static_cast<RunPtr*>(pShared));
    Run& run = **pOwn;
    run.nId = static_cast<std::uint32_t>(gettid());
    FutexWake(run.nId, FutexReach::Process);
    run.nExitCode = run.pfnProc(run.pArgument);
    run.nOver = 1;
    FutexWake(run.nOver, FutexReach::Process);
    return nullptr;
}

}  // namespace

class Thread {
  public:
    explicit Thread(RunPtr pRun) : m_pRun(std::move(pRun)) {}

    ~Thread() {
        if (m_bStarted && !m_bJoined) pthread_detach(m_thread);
    }
    Thread(const Thread&) = delete;
    Thread& operator=(const Thread&) = delete;

    int Start() {
        auto pShared = std::make_unique<RunPtr>(m_pRun);
        const int error = CreateWithoutSignals(pShared.get());
        if (error != 0) return error;
        pShared.release();
        m_bStarted = true;
        while (m_pRun->nId == 0)
            FutexWait(m_pRun->nId, 0, Deadline(INFINITE), FutexReach::Process);
        return 0;
    }

    const Run& State() const { return *m_pRun; }

    bool Wait(std::uint32_t nMilliseconds) {
        const Deadline deadline(nMilliseconds);
        while (m_pRun->nOver == 0) {
            if (deadline.HasPassed()) return false;
            FutexWait(m_pRun->nOver, 0, deadline, FutexReach::Process);
        }
        if (!m_bJoined) pthread_join(m_thread, nullptr);  // its last instructions
        m_bJoined = true;
        return true;
    }

  private:
    // Signals of the process are for the threads that the application started.
    int CreateWithoutSignals(void* pShared) {
        sigset_t all;
        sigset_t before;
        sigfillset(&all);
        for (const int fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGSYS})
            sigdelset(&all, fault);  // of the thread itself
        pthread_sigmask(SIG_SETMASK, &all, &before);
        const int error = pthread_create(&m_thread, nullptr, &RunThread, pShared);
        pthread_sigmask(SIG_SETMASK, &before, nullptr);
        return error;
    }

    RunPtr m_pRun;
    pthread_t m_thread{};
    bool m_bStarted = false;
    bool m_bJoined = false;
};

Thread* _beginthreadex(ThreadProc pfnProc, void* pArgument, unsigned* pnThreadId) {
    try {
        auto pRun = std::make_shared<Run>();
        pRun->pfnProc = pfnProc;
        pRun->pArgument = pArgument;
        auto pThread = std::make_unique<Thread>(std::move(pRun));
        if (const int error = pThread->Start(); error != 0) {
            errno = error;
            return nullptr;
        }
        if (pnThreadId) *pnThreadId = pThread->State().nId;
        return pThread.release();
    } catch (const std::bad_alloc&) {
        errno = ENOMEM;
        return nullptr;
    }
}

unsigned GetCurrentThreadId() {
    return static_cast<unsigned>(gettid());
}

bool SetThreadPriority(Thread* pThread, int nPriority) {
    // A thread has a nice value of its own here; one step is five of its values, seen from the first
    // thread's.
    constexpr int kNicePerStep = 5;
    constexpr int kHighestNice = 19;
    const int normal = getpriority(PRIO_PROCESS, static_cast<id_t>(getpid()));
    const int nice = std::min(normal - nPriority * kNicePerStep, kHighestNice);
    const auto id = static_cast<id_t>(pThread->State().nId.load());
    return pThread->State().nOver == 0 && setpriority(PRIO_PROCESS, id, nice) == 0;
}

bool GetExitCodeThread(Thread* pThread, std::uint32_t* pnExitCode) {
    *pnExitCode = pThread->State().nExitCode;
    return true;
}

std::uint32_t WaitForSingleObject(Thread* pThread, std::uint32_t nMilliseconds) {
    return pThread->Wait(nMilliseconds) ? WAIT_OBJECT_0 : WAIT_TIMEOUT;
}

void CloseHandle(Thread* pThread) {
    delete pThread;
}

}  // namespace Platform

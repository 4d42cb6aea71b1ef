// The object of a background worker.

#include "TNGThread.h"

#include <cerrno>
#include <new>
#include <utility>
#include <vector>

#include "TNGWorker.h"
#include "common/TNGGuard.h"
#include "common/TNGLog.h"
#include "platform/Semaphores.h"
#include "platform/Threads.h"

namespace {

constexpr char16_t s_szLogSource[] = u"TNGThread";

constexpr std::chrono::milliseconds kGrace{25};            // for a request in work
constexpr std::chrono::milliseconds kCallbackGrace{1000};  // for a callback that has begun

// The thread shares the worker.
unsigned threadProc(void* pArgument) {
    const std::unique_ptr<std::shared_ptr<TNGWorker>> pWorker(
        static_cast<std::shared_ptr<TNGWorker>*>(pArgument));
    (*pWorker)->Run();
    return 0;
}

// A worker that has been stopped, and whose thread may still be on its way out.
struct Leaver {
    Platform::Thread* hThread;
    std::shared_ptr<TNGWorker> pWorker;
    unsigned nThreadId;
    CTNGThread::Clock::time_point asked;
};

TNGGuard s_leaversGuard;
std::vector<Leaver>* s_pLeavers =
    nullptr;  // guarded by s_leaversGuard; made by the first, needs no destructor

void ReapLeavers() {
    std::erase_if(*s_pLeavers, [](const Leaver& leaver) {
        if (Platform::WaitForSingleObject(leaver.hThread, 0) != Platform::WAIT_OBJECT_0) return false;
        Platform::CloseHandle(leaver.hThread);
        return true;
    });
}

void AddLeaver(Leaver leaver) {
    const TNGGuardLock lock(s_leaversGuard);
    try {
        if (!s_pLeavers) s_pLeavers = new std::vector<Leaver>;
        ReapLeavers();
        s_pLeavers->push_back(leaver);
    } catch (const std::bad_alloc&) {
        Platform::CloseHandle(leaver.hThread);  // nobody is going to wait for it
    }
}

}  // namespace

CTNGThread::CTNGThread() : m_pWorker(std::make_shared<TNGWorker>()) {}

CTNGThread::~CTNGThread() {
    StopThread();
}

bool CTNGThread::IsBusy() const {
    return m_hThread && m_pWorker->IsBusy();
}

bool CTNGThread::IsThreadActive() const {
    std::uint32_t nExitCode = 0;
    return m_hThread && Platform::GetExitCodeThread(m_hThread, &nExitCode) &&
           nExitCode == Platform::STILL_ACTIVE;
}

std::uint32_t CTNGThread::StartThread(const TNGBackgroundRequest& request, unsigned* pnThreadId) {
    if (const std::uint32_t result = Launch(); result != QXTNG_SUCCESS) return result;
    if (pnThreadId) *pnThreadId = m_nThreadId;  // the callback may look for it there
    if (m_pWorker->File(request)) return QXTNG_SUCCESS;
    return m_pWorker->IsBusy() ? QXTNG_ERROR_THREAD_BUSY : QXTNG_ERROR_THREAD_NOT_FOUND;
}

std::uint32_t CTNGThread::Launch() {
    if (m_hThread) return QXTNG_SUCCESS;
    auto pShared = std::make_unique<std::shared_ptr<TNGWorker>>(m_pWorker);
    m_hThread = Platform::_beginthreadex(&threadProc, pShared.get(), &m_nThreadId);
    if (!m_hThread) {
        const bool bResources = errno == EAGAIN;
        CloseThreadHandles();
        return bResources ? QXTNG_ERROR_THREAD_RESOURCES : QXTNG_ERROR_FAILED;
    }
    pShared.release();
    Platform::SetThreadPriority(m_hThread, Platform::THREAD_PRIORITY_BELOW_NORMAL);
    return QXTNG_SUCCESS;
}

void CTNGThread::AskToStop() {
    if (!m_asked) m_asked = Clock::now();
    m_pWorker->Stop();
}

std::uint32_t CTNGThread::StopThread() {
    TNG_LOG(TNG_LOG_ENTER, u"StopThread");
    std::uint32_t result = QXTNG_SUCCESS;
    if (!IsThreadActive()) {
        TNG_LOG(TNG_LOG_INFO, u"Thread is stopped already, may be due to exception or intensely");
        result = QXTNG_ERROR_THREAD_NOT_FOUND;
    } else {
        AskToStop();
        if (IsBusy()) {
            TNG_LOG(TNG_LOG_INFO, u"Thread is busy");
            TNG_LOG(TNG_LOG_INFO, u"Allowing Thread to complete, waiting for 25 millisec.");
            m_pWorker->WaitUntilDone(*m_asked + kGrace);
            TNG_LOG(TNG_LOG_INFO, u"Closing Thread handle");
        }
        m_pWorker->WaitUntilCallbackIsOver(*m_asked + kCallbackGrace);
    }
    CloseThreadHandles();
    TNG_LOG(TNG_LOG_LEAVE, u"StopThread");
    return result;
}

void CTNGThread::CloseThreadHandles() {
    AskToStop();
    if (m_hThread) AddLeaver({std::exchange(m_hThread, nullptr), m_pWorker, m_nThreadId, *m_asked});
    m_nThreadId = 0;
}

void CTNGThread::JoinStoppedThreads() {
    std::unique_ptr<std::vector<Leaver>> pLeavers;
    {
        const TNGGuardLock lock(s_leaversGuard);
        pLeavers.reset(std::exchange(s_pLeavers, nullptr));
    }
    if (!pLeavers) return;
    for (const Leaver& leaver : *pLeavers) {
        const bool bOwn = leaver.nThreadId == Platform::GetCurrentThreadId();
        if (!bOwn && leaver.pWorker->WaitUntilCallbackIsOver(leaver.asked + kCallbackGrace))
            Platform::WaitForSingleObject(leaver.hThread, Platform::INFINITE);
        Platform::CloseHandle(leaver.hThread);
    }
}

// The manager's side of background requests: the registry of their threads.

#include <new>
#include <vector>

#include "TNGMgr.h"
#include "common/TNGFileInfo.h"
#include "common/TNGLog.h"
#include "imaging/TNGImageLibrary.h"

namespace {

constexpr char16_t s_szLogSource[] = u"TNGMgr";

}  // namespace

std::uint32_t CTNGMgr::GenerateThumbnailInBackGround(const char16_t* pszFilePath, const TNGSize& size,
                                                     int eSourceMode, std::uint32_t eOutputForm,
                                                     TNGThumbnailCallback pfnCallback,
                                                     TNGBackgroundContext* pContext, unsigned* pnThreadId) {
    if (size.nWidth == 0 || size.nHeight == 0) return QXTNG_ERROR_INVALID_ARGUMENT;
    TNGBackgroundRequest request{
        {pszFilePath, size, static_cast<std::uint32_t>(eSourceMode), eOutputForm, {}}, pfnCallback, pContext};
    if (*pnThreadId == 0) return CreateThreadObject(request, pnThreadId);

    const bool bFile = CTNGFileInfo::FindFileData(pszFilePath, &request.request.entry, false);
    const std::unique_ptr<CTNGThread> ended = TakeIfEnded(*pnThreadId);
    LoadImageLibrary();  // on this thread: see TNGBindingPause
    const TNGGuardLock lock(m_registryGuard);
    CTNGThread* const pThread = FindItem(*pnThreadId);
    if (!pThread) return QXTNG_ERROR_THREAD_NOT_FOUND;
    if (pThread->IsBusy()) return QXTNG_ERROR_THREAD_BUSY;
    return bFile ? pThread->StartThread(request, nullptr) : QXTNG_ERROR_INVALID_ARGUMENT;
}

std::uint32_t CTNGMgr::CreateThreadObject(const TNGBackgroundRequest& filed, unsigned* pnThreadId) {
    TNGBackgroundRequest request = filed;
    auto pThread = std::make_unique<CTNGThread>();
    if (!CTNGFileInfo::FindFileData(request.request.path.c_str(), &request.request.entry, false))
        return QXTNG_ERROR_INVALID_ARGUMENT;
    LoadImageLibrary();  // on this thread: see TNGBindingPause
    std::unique_ptr<CTNGThread> pStale;
    {
        // Until the registry has it: the callback may be there before this function returns, and use the id.
        const TNGGuardLock lock(m_registryGuard);
        if (m_nStops > 0) return QXTNG_ERROR_FAILED;
        if (const std::uint32_t result = pThread->Launch(); result != QXTNG_SUCCESS) return result;
        // Of a thread that ended unnoticed, and whose number has been given anew.
        pStale.reset(FindItem(pThread->Id()));
        CTNGThread& thread = *pThread;
        const unsigned nThreadId = thread.Id();  // the caller's variable may be the callback's soon
        m_pTable->insert_or_assign(nThreadId, pThread.get());
        pThread.release();
        std::uint32_t result = QXTNG_ERROR_FAILED;
        try {
            result = thread.StartThread(request, pnThreadId);
        } catch (const std::bad_alloc&) {
            result = QXTNG_ERROR_FAILED;
        }
        if (result != QXTNG_SUCCESS) {
            *pnThreadId = 0;
            m_pTable->erase(nThreadId);
            pStale.reset(&thread);
            return result;
        }
    }
    TNG_LOG(TNG_LOG_INFO, u"Thread Id:");
    return QXTNG_SUCCESS;
}

// Out of the registry; null if it is not there.
std::unique_ptr<CTNGThread> CTNGMgr::TakeThread(unsigned nThreadId) {
    const TNGGuardLock lock(m_registryGuard);
    std::unique_ptr<CTNGThread> pThread(FindItem(nThreadId));
    m_pTable->erase(nThreadId);
    return pThread;
}

// The same of a thread that has ended by itself.
std::unique_ptr<CTNGThread> CTNGMgr::TakeIfEnded(unsigned nThreadId) {
    const TNGGuardLock lock(m_registryGuard);
    CTNGThread* const pThread = FindItem(nThreadId);
    if (!pThread || pThread->IsThreadActive()) return nullptr;
    m_pTable->erase(nThreadId);
    return std::unique_ptr<CTNGThread>(pThread);
}

std::uint32_t CTNGMgr::QXStopBackGroundThread(unsigned nThreadId) {
    const std::unique_ptr<CTNGThread> pThread = TakeThread(nThreadId);
    if (!pThread) {
        TNG_LOG(TNG_LOG_INFO, u"Thread doesn't exist");
        return QXTNG_ERROR_THREAD_NOT_FOUND;
    }
    TNG_LOG(TNG_LOG_INFO, u"Thread exist, stopping Thread");
    const std::uint32_t result = pThread->StopThread();
    TNG_LOG(TNG_LOG_INFO, u"Removing Thread entry");
    return result;
}

std::uint32_t CTNGMgr::IsBackGroundThreadActive(unsigned nThreadId, int* pbActive) {
    if (!pbActive) return QXTNG_ERROR_INVALID_ARGUMENT;
    *pbActive = 0;
    const std::unique_ptr<CTNGThread> ended = TakeIfEnded(nThreadId);
    const TNGGuardLock lock(m_registryGuard);
    if (!FindItem(nThreadId)) return QXTNG_ERROR_THREAD_NOT_FOUND;
    *pbActive = 1;
    return QXTNG_SUCCESS;
}

void CTNGMgr::StopThreads() {
    std::vector<std::unique_ptr<CTNGThread>> threads;
    {
        const TNGGuardLock lock(m_registryGuard);
        threads.reserve(m_pTable->size());
        for (const auto& [nThreadId, pThread] : *m_pTable)
            threads.emplace_back(pThread);
        m_pTable->clear();
        ++m_nStops;
    }
    for (const auto& pThread : threads)
        pThread->AskToStop();
    threads.clear();  // waits for each
    const TNGGuardLock lock(m_registryGuard);
    --m_nStops;
}

void CTNGMgr::EndThreads() {
    {
        const TNGGuardLock lock(m_registryGuard);
        ++m_nStops;
    }
    StopThreads();
}

#include "TNGWorker.h"

#include "common/TNGLog.h"
#include "imaging/TNGImageLibrary.h"
#include "platform/Threads.h"

namespace {

constexpr char16_t s_szLogSource[] = u"TNGThread";

// Before a request that could not enter the cache is tried again.
constexpr std::chrono::milliseconds kPause{50};

constexpr TNGGenerationTexts kTexts = {
    .pszEntry = u"threadProc",
    .pszConversion = u"ThreadProc:ConvertThumbnailIntoProperType",
    .pszNoLibrary = u"threadProc:IML initialization failed.",
    .pszNoProducer = nullptr,
    .pszCachedNotConverted =
        u"threadProc:ConvertThumbnailIntoProperType method failed to convert into desired type--generating "
        u"from "
        u"original",
    .pszStoredNotConverted =
        u"threadProc:ConvertThumbnailIntoProperType method failed to convert into desired type",
    .pszDirectNotConverted =
        u"threadProc:ConvertThumbnailIntoProperType method failed to convert into desired type",
};

void MarkAsFailed(TNGThumbnailResult& record) {
    record.pResult = nullptr;
    record.bDefault = 1;
}

}  // namespace

bool TNGWorker::IsBusy() const {
    const TNGGuardLock lock(m_guard);
    return m_bBusy;
}

bool TNGWorker::File(const TNGBackgroundRequest& request) {
    const TNGGuardLock lock(m_guard);
    if (m_bBusy || m_bStop) return false;
    m_request = request;
    m_bBusy = true;
    m_change.NotifyAll();
    return true;
}

void TNGWorker::Stop() {
    const TNGGuardLock lock(m_guard);
    m_bStop = true;
    m_change.NotifyAll();
}

bool TNGWorker::WaitUntilDone(std::chrono::steady_clock::time_point end) {
    const TNGGuardLock lock(m_guard);
    return WaitWhile(m_bBusy, end);
}

bool TNGWorker::WaitUntilCallbackIsOver(std::chrono::steady_clock::time_point end) {
    const TNGGuardLock lock(m_guard);
    return WaitWhile(m_bInCallback, end);
}

bool TNGWorker::WaitWhile(const bool& bState, std::chrono::steady_clock::time_point end) {
    if (m_nThreadId == Platform::GetCurrentThreadId()) return true;
    while (bState) {
        if (!m_change.WaitUntil(m_guard, end)) return !bState;
    }
    return true;
}

void TNGWorker::Run() {
    m_nThreadId = Platform::GetCurrentThreadId();
    const TNGBindingPause noBinding;  // in callbacks neither
    try {
        std::optional<CTNGThumbnailProducer> producer;
        while (WaitForRequest() && WorkOnRequest(producer))
            continue;
    } catch (...) {
        try {
            TNG_LOG(TNG_LOG_EXCEPTION, (u"ThreadProc exception:" + m_work.request.path).c_str());
        } catch (...) {
        }
    }
    Finish();
}

bool TNGWorker::WaitForRequest() {
    const TNGGuardLock lock(m_guard);
    for (;;) {
        while (!m_bBusy && !m_bStop)
            m_change.Wait(m_guard);
        if (m_bStop) return false;
        TNGThumbnailResult* const pRecord = m_request.pContext ? m_request.pContext->pRecord : nullptr;
        if (m_request.pfnCallback && m_request.pContext) {
            m_work = m_request;
            if (pRecord) pRecord->eOutputForm = m_work.request.eOutputForm;
            return true;
        }
        if (pRecord) MarkAsFailed(*pRecord);  // there is nobody to work for
        m_bBusy = false;
    }
}

// False when the thread is to end.
bool TNGWorker::WorkOnRequest(std::optional<CTNGThumbnailProducer>& producer) {
    TNGGeneration generation(m_work.request, kTexts, producer, &m_bStop);
    const TNGGeneration::End end = generation.Run();
    if (end == TNGGeneration::End::CacheLocked) {
        Pause();
        return true;  // the same request once more
    }
    if (end == TNGGeneration::End::Stopped || !Publish(generation, end)) return false;
    CallBack();
    return true;
}

void TNGWorker::Pause() {
    const auto end = std::chrono::steady_clock::now() + kPause;
    const TNGGuardLock lock(m_guard);
    while (!m_bStop && m_change.WaitUntil(m_guard, end))
        continue;
}

// Hands the result to the record. False, and nothing is touched, if the worker has been stopped.
bool TNGWorker::Publish(TNGGeneration& generation, TNGGeneration::End end) {
    const TNGGuardLock lock(m_guard);
    if (m_bStop) return false;
    if (m_work.pContext->pRecord) {
        TNGThumbnailResult& record = *m_work.pContext->pRecord;
        record.eAssetType = generation.m_eAssetType;
        if (generation.m_eOrigin != TNGGeneration::kNoOrigin)
            record.eOrigin = static_cast<std::uint32_t>(generation.m_eOrigin);
        TNGThumbnailData& result = generation.Result();
        if (end == TNGGeneration::End::Made) {
            record.nWidthOrLength = result.nWidth;
            record.nHeight = result.nHeight;
            record.bDefault = static_cast<std::uint32_t>(generation.m_bDefault);
            record.pResult = m_work.request.eOutputForm == TNG_OUTPUT_IMAGE
                                 ? static_cast<void*>(result.pImage.release())
                                 : static_cast<void*>(result.pBuffer.release());
        } else {
            MarkAsFailed(record);
        }
    }
    m_bBusy = false;  // the callback may file the next request
    m_bInCallback = true;
    m_change.NotifyAll();
    return true;
}

void TNGWorker::CallBack() {
    m_work.pfnCallback(m_work.pContext);
    const TNGGuardLock lock(m_guard);
    m_bInCallback = false;
    m_change.NotifyAll();
}

void TNGWorker::Finish() {
    const TNGGuardLock lock(m_guard);
    m_bBusy = false;
    m_bInCallback = false;
    m_bStop = true;
    m_change.NotifyAll();
}

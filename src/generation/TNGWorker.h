#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>

#include "TNGGeneration.h"
#include "TNGRequest.h"
#include "common/TNGGuard.h"
#include "common/TNGTypes.h"

/// What a background request is, and whom its result is for.
struct TNGBackgroundRequest {
    TNGRequest request;
    TNGThumbnailCallback pfnCallback = nullptr;
    TNGBackgroundContext* pContext = nullptr;
};

/// The work of one background thread, shared by the thread and the object that stands for it: it lives until
/// both are done with it. A request is busy from being filed until its callback begins.
///
/// Nothing of the caller's is touched but under the guard that Stop() takes, and not after it: a result is
/// kept here until it is published, and released here if it never is.
class TNGWorker {
  public:
    bool IsBusy() const;

    /// Files a request, and wakes the thread. False if one is in work, or the worker has been stopped.
    bool File(const TNGBackgroundRequest& request);

    /// Asks the thread to end: from now on it starts no callback. Never waits.
    void Stop();

    /// Wait until the request in work, or a callback that has begun, is over. False if `end` comes first.
    /// From inside the callback that is at once.
    bool WaitUntilDone(std::chrono::steady_clock::time_point end);
    bool WaitUntilCallbackIsOver(std::chrono::steady_clock::time_point end);

    /// The life of the thread.
    void Run();

  private:
    bool WaitWhile(const bool& bState, std::chrono::steady_clock::time_point end) TNG_REQUIRES(m_guard);
    bool WaitForRequest();
    bool WorkOnRequest(std::optional<CTNGThumbnailProducer>& producer);
    bool Publish(TNGGeneration& generation, TNGGeneration::End end);
    void Pause();
    void CallBack();
    void Finish();

    mutable TNGGuard m_guard;  // of the fields below
    TNGCondition m_change;     // of the fields below
    TNGBackgroundRequest m_request TNG_GUARDED_BY(m_guard);
    bool m_bBusy TNG_GUARDED_BY(m_guard) = false;
    bool m_bInCallback TNG_GUARDED_BY(m_guard) = false;
    std::atomic<bool> m_bStop{false};  // set under the guard

    TNGBackgroundRequest m_work;                // the request in work; of the thread alone
    std::atomic<std::uint32_t> m_nThreadId{0};  // of the thread in Run()
};

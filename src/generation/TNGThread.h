#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "TNGRequest.h"
#include "TNGThumbnailData.h"

class CTNGThumbnailProducer;
class TNGWorker;
struct TNGBackgroundRequest;
namespace Platform {
class Thread;
}

/// The generation of thumbnails: the steps of its flows, and as an object one background worker, a thread
/// that serves one request after the other until it is stopped. One thread at a time may use an object.
class CTNGThread {
  public:
    using Clock = std::chrono::steady_clock;

    CTNGThread();
    ~CTNGThread();
    CTNGThread(const CTNGThread&) = delete;
    CTNGThread& operator=(const CTNGThread&) = delete;

    /// Starts the thread, if there is none. A result code.
    std::uint32_t Launch();

    /// Releases a request to the worker, and starts its thread if there is none. `pnThreadId` may be null,
    /// else it receives the thread's id before the worker has the request. A result code.
    std::uint32_t StartThread(const TNGBackgroundRequest& request, unsigned* pnThreadId);

    /// Asks the worker to end, without waiting for it: the times that StopThread() waits begin now.
    void AskToStop();

    /// Ends the worker: it starts no callback any more and touches nothing of its caller's. Waits up to 25 ms
    /// for a request in work, whose result is dropped, and up to a second for a callback that has begun. A
    /// result code.
    std::uint32_t StopThread();

    /// The system's id of the thread; 0 without one.
    unsigned Id() const { return m_nThreadId; }

    bool IsBusy() const;

    /// False once the thread has ended.
    bool IsThreadActive() const;

    /// Waits until the threads of all workers that have been stopped have left this library; not for the
    /// calling thread, nor without limit for a callback.
    static void JoinStoppedThreads();

    /// --- Steps of the flows ---

    /// Makes one thumbnail on the caller's thread, or has it from the cache. `ppImage` or `ppBuffer` receives
    /// the result, whichever goes with the form; the other may be null. `*pResultSize` receives its size, or
    /// its length in bytes and 0.
    static std::uint32_t GenerateThumbnail(const TNGRequest& request, Gdiplus::Image** ppImage,
                                           std::uint8_t** ppBuffer, TNGSize* pResultSize, int* peOrigin,
                                           int* pbDefault);

    /// Brings the cache up to date for work on a path. The caller has entered the cache.
    static void InitializeCache(const std::u16string& path);

    /// Makes the renditions of a file that the cache has nothing of, stores them, and leaves in `pResult` the
    /// one that suits the request, as an image or compressed. True, or false and nothing. The caller has
    /// entered the cache.
    static bool GenerateAndAddThumbnailToCache(CTNGThumbnailProducer& producer, const TNGRequest& request,
                                               std::uint32_t eAssetType, TNGThumbnailData* pResult,
                                               int* pbDefault, int* peOrigin);

    /// Has the thumbnail of a video or a large file from the cache. 0, or a result code, with which the
    /// caller turns to the file.
    static std::uint32_t CheckAndGetVideoOrLargeTHBFromCache(const TNGRequest& request,
                                                             std::unique_ptr<Gdiplus::Image>* ppImage,
                                                             int* peOrigin, const std::atomic<bool>* pbStop);

    /// Stores the image that was made for a request, unless the cache has it by now. The caller has entered
    /// the cache.
    static void FeedCache(CTNGThumbnailProducer& producer, const TNGRequest& request,
                          std::uint32_t eAssetType, Gdiplus::Image& image, int eOrigin,
                          const TNGSize& originalSize);

  private:
    void CloseThreadHandles();

    unsigned m_nThreadId = 0;                  // of the system; 0 without a thread
    Platform::Thread* m_hThread = nullptr;     // owned
    std::optional<Clock::time_point> m_asked;  // to stop
    std::shared_ptr<TNGWorker> m_pWorker;
};

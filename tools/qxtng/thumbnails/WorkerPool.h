#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "Thumbnail.h"
#include "common/TNGTypes.h"

namespace Client {

/// One file of many.
struct Job {
    std::size_t index;
    ThumbnailRequest request;
};

/// What became of a job: a thumbnail, or why there is none.
struct JobResult {
    std::optional<CompressedThumbnail> thumbnail;
    std::string failure;
};

/// Makes thumbnails on background threads of the library: each callback hands over its result and files the
/// next request on its own thread. Made, woken and ended by one thread, its owner.
class WorkerPool {
  public:
    /// Where jobs come from and results go to. Claim() is called by one thread at a time, Finish() by many.
    class Jobs {
      public:
        /// The next job; none for now, or for good.
        virtual std::optional<Job> Claim() = 0;
        virtual void Finish(std::size_t index, const JobResult& result) = 0;

      protected:
        ~Jobs() = default;
    };

    static std::size_t Processors();

    /// Begins. Fewer workers than wanted will do; a Failure if there is none.
    WorkerPool(Jobs& jobs, std::size_t workers);
    ~WorkerPool();  // drops the jobs in hand
    WorkerPool(const WorkerPool&) = delete;
    WorkerPool& operator=(const WorkerPool&) = delete;

    /// Has idle workers look for jobs again.
    void Wake();

    /// Fails the jobs of workers whose thread has died, and replaces it. For an owner that has waited for a
    /// result longer than kPatience.
    void ReplaceDead();
    static constexpr std::chrono::milliseconds kPatience{500};

  private:
    struct Worker : TNGBackgroundContext {
        TNGThumbnailResult record{};
        WorkerPool* pool = nullptr;
        unsigned threadId = 0;   // changed by the owner alone
        std::optional<Job> job;  // none while it is idle; changes under m_guard
    };

    static void OnResult(TNGBackgroundContext* pContext);
    void Serve(Worker& worker);
    bool ClaimFor(Worker& worker);
    bool FileFor(Worker& worker);
    void Finish(Worker& worker, const JobResult& result);
    void PutBack(Worker& worker);
    bool IsIdle(const Worker& worker);

    Jobs& m_jobs;
    std::mutex m_guard;  // of the four that follow
    std::condition_variable m_callbackOver;
    std::vector<Job> m_putBack;   // claimed, and nobody's
    std::size_t m_callbacks = 0;  // under way
    bool m_stopping = false;
    std::vector<std::unique_ptr<Worker>> m_workers;
};

}  // namespace Client

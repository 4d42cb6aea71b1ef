#include "WorkerPool.h"

#include <algorithm>
#include <thread>
#include <utility>

#include "api/QxTng.h"
#include "files/SourceFile.h"
#include "terminal/Messages.h"

namespace Client {
namespace {

bool IsActive(unsigned threadId) {
    int isActive = 0;
    return IsBackGroundThreadActive(threadId, &isActive) == QXTNG_SUCCESS && isActive != 0;
}

JobResult ResultOf(const Job& job, const TNGThumbnailResult& record) {
    try {
        return {TakeThumbnail(job.request.path, record), {}};
    } catch (const std::exception& error) {
        return {std::nullopt, error.what()};
    }
}

}  // namespace

std::size_t WorkerPool::Processors() {
    return std::max(1u, std::thread::hardware_concurrency());
}

WorkerPool::WorkerPool(Jobs& jobs, std::size_t workers) : m_jobs(jobs) {
    while (m_workers.size() < workers) {
        auto worker = std::make_unique<Worker>();
        worker->pRecord = &worker->record;
        worker->pool = this;
        m_workers.push_back(std::move(worker));
    }
    Wake();
    const bool hasThread = std::ranges::any_of(m_workers, [](const auto& w) { return w->threadId != 0; });
    if (!m_putBack.empty() && !hasThread) throw Failure("the system has no thread to spare");
}

WorkerPool::~WorkerPool() {
    {
        const std::scoped_lock lock(m_guard);
        m_stopping = true;
    }
    for (const auto& worker : m_workers)
        if (worker->threadId != 0) QXStopBackGroundThread(worker->threadId);
    // No callback begins any more; the library does not wait for one that takes its time.
    std::unique_lock lock(m_guard);
    m_callbackOver.wait(lock, [this] { return m_callbacks == 0; });
}

void WorkerPool::Wake() {
    for (const auto& worker : m_workers)
        if (IsIdle(*worker)) Serve(*worker);
}

void WorkerPool::ReplaceDead() {
    for (const auto& worker : m_workers) {
        if (worker->threadId == 0 || IsActive(worker->threadId)) continue;
        worker->threadId = 0;
        if (!IsIdle(*worker)) Finish(*worker, {std::nullopt, "its thread has ended; see --log all"});
    }
    Wake();
}

bool WorkerPool::IsIdle(const Worker& worker) {
    const std::scoped_lock lock(m_guard);
    return !worker.job;
}

void WorkerPool::OnResult(TNGBackgroundContext* pContext) {
    Worker& worker = static_cast<Worker&>(*pContext);
    WorkerPool& pool = *worker.pool;
    {
        const std::scoped_lock lock(pool.m_guard);
        ++pool.m_callbacks;
    }
    // What is thrown here ends the thread, and ReplaceDead() sees to the job.
    struct End {
        WorkerPool& pool;
        ~End() {
            const std::scoped_lock lock(pool.m_guard);
            --pool.m_callbacks;
            pool.m_callbackOver.notify_all();
        }
    } const end{pool};
    pool.Finish(worker, ResultOf(*worker.job, worker.record));
    pool.Serve(worker);
}

/// Leaves the worker with a request filed, or idle. It may be anybody's then.
void WorkerPool::Serve(Worker& worker) {
    while (ClaimFor(worker) && !FileFor(worker))
        continue;
}

bool WorkerPool::ClaimFor(Worker& worker) {
    const std::scoped_lock lock(m_guard);
    if (m_stopping || worker.job) return false;  // with a job it is served by another thread
    if (m_putBack.empty()) {
        worker.job = m_jobs.Claim();
    } else {
        worker.job = std::move(m_putBack.back());
        m_putBack.pop_back();
    }
    return worker.job.has_value();
}

/// False if the job has failed, and the worker can have the next one.
bool WorkerPool::FileFor(Worker& worker) {
    std::string failure = "not a file that can be read";
    try {
        CheckReadable(worker.job->request.path);
        const std::uint32_t result = FileRequest(worker.job->request, &OnResult, worker, &worker.threadId);
        if (result == QXTNG_SUCCESS) return true;
        if (result != QXTNG_ERROR_INVALID_ARGUMENT) {
            PutBack(worker);
            return true;
        }
    } catch (const std::exception& error) {
        failure = error.what();
    }
    Finish(worker, {std::nullopt, failure});
    return false;
}

void WorkerPool::Finish(Worker& worker, const JobResult& result) {
    m_jobs.Finish(worker.job->index, result);
    const std::scoped_lock lock(m_guard);
    worker.job.reset();
}

/// The worker has no thread, or it is being stopped.
void WorkerPool::PutBack(Worker& worker) {
    const std::scoped_lock lock(m_guard);
    m_putBack.push_back(*std::exchange(worker.job, std::nullopt));
}

}  // namespace Client

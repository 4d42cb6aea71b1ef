// Background requests: what a second worker is worth, how soon a stop is back, what a foreground request
// costs while workers are busy, and what many requests leave behind.
//
//     bench_background [PICTURE...]

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "api/QxTng.h"
#include "platform/Memory.h"
#include "support/Foreground.h"
#include "support/Results.h"
#include "support/TestFiles.h"

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;
using Paths = std::vector<std::u16string>;

constexpr TNGSize kBox{160, 160};

double Milliseconds(Clock::duration duration) {
    return std::chrono::duration<double, std::milli>(duration).count();
}

// Workers that share a list of requests; each callback files the next one.
class Workers {
  public:
    Workers(const Paths& paths, std::size_t nRequests, std::size_t nWorkers)
        : m_paths(paths), m_nRequests(nRequests), m_workers(nWorkers) {
        for (Worker& worker : m_workers) {
            worker.pRecord = &worker.record;
            worker.pOwner = this;
            FileNext(worker);
        }
    }
    ~Workers() {
        m_nNext = m_nRequests;
        for (const Worker& worker : m_workers)
            QXStopBackGroundThread(worker.nThreadId);
    }
    Workers(const Workers&) = delete;
    Workers& operator=(const Workers&) = delete;

    void WaitUntil(std::size_t nDone) const {
        while (m_nDone < nDone)
            std::this_thread::sleep_for(std::chrono::microseconds(200));
    }
    void WaitForAll() const { WaitUntil(m_nRequests); }

  private:
    struct Worker : TNGBackgroundContext {
        TNGThumbnailResult record{};
        Workers* pOwner = nullptr;
        unsigned nThreadId = 0;
    };

    static void OnResult(TNGBackgroundContext* pContext) {
        Worker& worker = *static_cast<Worker*>(pContext);
        Workers& owner = *worker.pOwner;
        Bench::Require(worker.record.bDefault == 0, "a picture gave a default image");
        VirtualFree(worker.record.pResult, 0, MEM_RELEASE);
        owner.FileNext(worker);
        ++owner.m_nDone;
    }

    void FileNext(Worker& worker) {
        const std::size_t nNext = m_nNext++;
        if (nNext >= m_nRequests) return;
        QXGenerateThumbnailInBackGround(m_paths[nNext % m_paths.size()].c_str(), kBox, TNG_SOURCE_DECODE_ONLY,
                                        TNG_OUTPUT_COMPRESSED, &OnResult, &worker, &worker.nThreadId);
    }

    const Paths& m_paths;
    const std::size_t m_nRequests;
    std::atomic<std::size_t> m_nNext{0};
    std::atomic<std::size_t> m_nDone{0};
    std::vector<Worker> m_workers;
};

// The pictures under many names.
Paths MakeFolder(const Bench::TemporaryFolder& folder, const std::vector<std::string>& pictures,
                 std::size_t nFiles) {
    Paths paths;
    fs::create_directory(folder / "many");
    for (std::size_t i = 0; i < nFiles; ++i) {
        const fs::path picture = fs::absolute(pictures[i % pictures.size()]);
        const fs::path link = folder / "many" / (std::to_string(i) + picture.extension().native());
        fs::create_symlink(picture, link);
        paths.push_back(TestSupport::TextOf(link));
    }
    return paths;
}

void EmptyCache() {
    Bench::Require(SetCacheEnabled(0) == QXTNG_SUCCESS && SetCacheEnabled(1) == QXTNG_SUCCESS, "no cache");
}

double WarmingTime(const Paths& paths, std::size_t nWorkers) {
    EmptyCache();
    const auto start = Clock::now();
    const Workers workers(paths, paths.size(), nWorkers);
    workers.WaitForAll();
    return Milliseconds(Clock::now() - start);
}

// In turns, and the fastest of each: the machine may be busy at times.
void MeasureSecondWorker(const Paths& paths) {
    double one = 1e9;
    double two = 1e9;
    for (int i = 0; i < 7; ++i) {
        one = std::min(one, WarmingTime(paths, 1));
        two = std::min(two, WarmingTime(paths, 2));
    }
    Bench::Record({"warming with two workers, times as fast as one", one / two, "", "", 0, 1.8, true});
    std::printf("%zu pictures into the cache: one worker %.0f ms, two %.0f ms, %.2f times as fast\n",
                paths.size(), one, two, one / two);
}

std::size_t CountEntries(const char* pszFolder) {
    return static_cast<std::size_t>(std::distance(fs::directory_iterator(pszFolder), {}));
}

void MeasureStop(const std::u16string& path) {
    constexpr std::size_t kStops = 100;
    const std::size_t nThreads = CountEntries("/proc/self/task");
    const Paths paths{path};
    std::vector<double> times;
    while (times.size() < kStops) {
        auto pWorkers = std::make_unique<Workers>(paths, 1, 1);
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
        const auto start = Clock::now();
        pWorkers.reset();
        times.push_back(Milliseconds(Clock::now() - start));
        while (CountEntries("/proc/self/task") > nThreads)  // it decodes to the end
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    std::ranges::sort(times);
    Bench::Record({"stop during a long decode, worst", times.back(), "ms", "", 0, 40.0});
    std::printf("%zu stops during a long decode: median %.1f ms, worst %.1f ms\n", kStops, times[kStops / 2],
                times.back());
}

void MeasureForeground(const Paths& paths, const std::u16string& cached) {
    constexpr std::size_t kRequests = 2000;
    std::vector<double> times;
    while (times.size() < kRequests) {
        EmptyCache();
        Bench::ThumbnailFile(cached, kBox.nWidth, TNG_SOURCE_DECODE_ONLY);
        const Workers workers(paths, paths.size(), 16);
        for (std::size_t i = 0; i < kRequests / 10; ++i) {
            const auto start = Clock::now();
            Bench::ThumbnailFile(cached, kBox.nWidth, TNG_SOURCE_DECODE_ONLY);
            times.push_back(Milliseconds(Clock::now() - start));
            std::this_thread::sleep_for(std::chrono::microseconds(500));
        }
    }
    std::ranges::sort(times);
    Bench::Record(
        {"foreground hit beside 16 workers, 95th percentile", times[kRequests * 95 / 100], "ms", "", 0, 1.0});
    std::printf(
        "foreground request on a cached picture beside 16 workers: median %.3f ms, 95 %% under %.3f ms\n",
        times[kRequests / 2], times[kRequests * 95 / 100]);
}

std::size_t ResidentKilobytes() {
    std::ifstream file("/proc/self/statm");
    std::size_t nAll = 0;
    std::size_t nResident = 0;
    file >> nAll >> nResident;
    return nResident * static_cast<std::size_t>(sysconf(_SC_PAGESIZE)) / 1024;
}

void MeasureGrowth(const Paths& paths) {
    constexpr std::size_t kRequests = 10'000;
    const Workers workers(paths, kRequests, 16);
    for (const std::size_t nDone : {kRequests / 10, kRequests / 2, kRequests}) {
        workers.WaitUntil(nDone);
        std::printf("after %5zu requests on 16 workers: %zu KB, %zu threads, %zu descriptors\n", nDone,
                    ResidentKilobytes(), CountEntries("/proc/self/task"), CountEntries("/proc/self/fd"));
    }
}

}  // namespace

int main(int argc, char** argv) {
    const Bench::TemporaryFolder folder;
    fs::create_directory(folder / "cache");
    Bench::Require(SetCacheFolder(TestSupport::TextOf(folder / "cache").c_str()) == QXTNG_SUCCESS,
                   "no cache");
    std::vector<std::string> pictures(argv + 1, argv + argc);
    if (pictures.empty()) pictures = {Bench::MakePhotograph(folder).path};
    const Bench::TestFile slow = Bench::MakeMorePhotographs(folder)[2];
    const Paths paths = MakeFolder(folder, pictures, 96);
    SetCacheEnabled(1);
    MeasureSecondWorker(paths);
    MeasureStop(slow.text);
    MeasureForeground(paths, TestSupport::TextOf(fs::absolute(pictures[0])));
    MeasureGrowth(paths);
    ShutDown();
}

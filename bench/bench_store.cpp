// The store and its locks: what a list file costs to load beside the bare reading of its bytes, what finding
// and appending cost in long lists, and how soon a waiter gets a lock.

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstring>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "common/TNGFileInfo.h"
#include "common/TNGTypes.h"
#include "locks/TNGMutex.h"
#include "store/TNGFolderMap.h"
#include "support/Bytes.h"
#include "support/RecordedBenchmarks.h"
#include "support/TemporaryFolder.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr char16_t kListName[] = u"1.dat";

double Seconds(Clock::duration duration) {
    return std::chrono::duration<double>(duration).count();
}

std::u16string PathOf(int number) {
    const std::string digits = std::to_string(number);
    return u"/home/somebody/Pictures/Holidays 2019/Day 3/IMG_" +
           std::u16string(digits.begin(), digits.end()) + u".jpg";
}

// A list in a cache folder of its own.
class List {
  public:
    explicit List(int nRecords) {
        s_strCacheFolder.Set(TestSupport::TextOf(m_folder.Path()));
        Records().SetListFileName(kListName);
        Grow(nRecords);
        Append();
    }
    ~List() { s_strCacheFolder.Clear(); }
    List(const List&) = delete;
    List& operator=(const List&) = delete;

    CTNGFileDataCollection& Records() { return *m_folderMap.FileDataList; }
    std::string File() const { return m_folder / "1.dat"; }

    void Grow(int nRecords) {
        for (int i = 0; i < nRecords; ++i) {
            auto pRecord = std::make_unique<CTNGFileData>();
            pRecord->m_strFilePath = PathOf(Records().GetCount());
            pRecord->m_strDataFileName = u"1.db";
            pRecord->m_bDeleted = 0;
            Records().AddItem(std::move(pRecord));
        }
    }

    void Append() {
        Bench::Require(Records().AppendNewRecords() == QXTNG_SUCCESS, "the list cannot be appended to");
    }

    void Load() {
        Bench::Require(Records().LoadList(kListName, nullptr) == QXTNG_SUCCESS, "the list cannot be loaded");
    }

  private:
    TestSupport::TemporaryFolder m_folder;
    CTNGFolderMap m_folderMap{true};
};

// Copies the text that stands behind its length at `p`; returns what stands behind the text.
const char* CopyText(const char* p, std::u16string& text) {
    std::uint32_t units = 0;
    std::memcpy(&units, p, sizeof units);
    text.resize(units);
    std::memcpy(text.data(), p + sizeof units, units * sizeof(char16_t));
    return p + sizeof units + units * sizeof(char16_t);
}

// What no reader of the file can do without: its bytes, and its texts as texts.
std::size_t ReadBare(const std::string& path, int nRecords) {
    const int nDescriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    std::vector<char> bytes(static_cast<std::size_t>(lseek(nDescriptor, 0, SEEK_END)));
    const ssize_t got = pread(nDescriptor, bytes.data(), bytes.size(), 0);
    close(nDescriptor);
    Bench::Require(got == static_cast<ssize_t>(bytes.size()), "the list cannot be read");
    std::vector<std::u16string> texts(2 * static_cast<std::size_t>(nRecords));
    const char* p = bytes.data() + 4;
    for (std::size_t i = 0; i < texts.size(); i += 2) {
        p = CopyText(p + 4, texts[i]);
        p = CopyText(p + 4, texts[i + 1]) + 52;
    }
    Bench::Require(texts.back() == u"1.db", "the list is not as it should be");
    return texts.size();
}

template <typename Work>
double Fastest(Work work) {
    double fastest = 1e9;
    for (int i = 0; i < 7; ++i) {
        const auto start = Clock::now();
        work();
        fastest = std::min(fastest, Seconds(Clock::now() - start));
    }
    return fastest;
}

void LoadList(benchmark::State& state) {
    const int nRecords = static_cast<int>(state.range(0));
    List list(nRecords);
    for (auto _ : state)
        list.Load();
    const double bare = Fastest([&] { benchmark::DoNotOptimize(ReadBare(list.File(), nRecords)); });
    state.counters["times_bare_read"] = Fastest([&] { list.Load(); }) / bare;  // at most 10
}

void FindRecord(benchmark::State& state) {
    const int nRecords = static_cast<int>(state.range(0));
    List list(nRecords);
    std::vector<std::u16string> paths;
    for (int i = 0; i < 512; ++i)
        paths.push_back(PathOf(static_cast<int>(std::int64_t{i} * 7919 % nRecords)));
    CTNGFileData* pFound = nullptr;
    std::size_t next = 0;
    for (auto _ : state)
        benchmark::DoNotOptimize(list.Records().FindRecord(paths[next++ % paths.size()], &pFound));
}

void AppendTenRecords(benchmark::State& state) {
    List list(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        list.Grow(10);
        const auto start = Clock::now();
        list.Append();
        state.SetIterationTime(Seconds(Clock::now() - start));
    }
}

void ReadHold(benchmark::State& state) {
    CTNGMutex mutex;
    for (auto _ : state) {
        mutex.Lock(TNG_LOCK_READ, TNG_LOCK_TIMEOUT_MS);
        mutex.Unlock(false);
    }
}

// Collects the times of a benchmark whose mean says little while the machine does other things, too.
class Times {
  public:
    explicit Times(benchmark::State& state) : m_state(state) {}
    ~Times() {
        std::ranges::sort(m_seconds);
        m_state.counters["median_us"] = m_seconds[m_seconds.size() / 2] * 1e6;
    }
    Times(const Times&) = delete;
    Times& operator=(const Times&) = delete;

    void Add(Clock::duration time) {
        m_seconds.push_back(std::max(Seconds(time), 0.0));
        m_state.SetIterationTime(m_seconds.back());
    }

  private:
    benchmark::State& m_state;
    std::vector<double> m_seconds;
};

// From the release in this thread to the hold in another.
void WakeUpThread(benchmark::State& state) {
    CTNGMutex mutex;
    Times times(state);
    for (auto _ : state) {
        mutex.Lock(TNG_LOCK_WRITE, TNG_WAIT_FOREVER);
        std::atomic<bool> bThere{false};
        Clock::time_point got;
        std::thread waiter([&] {
            bThere = true;
            mutex.Lock(TNG_LOCK_WRITE, TNG_WAIT_FOREVER);
            got = Clock::now();
            mutex.Unlock(false);
        });
        while (!bThere)
            std::this_thread::yield();
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
        const auto released = Clock::now();
        mutex.Unlock(false);
        waiter.join();
        times.Add(got - released);
    }
}

// Another process that takes a named lock whenever it is told to, and says when it got it.
class Waiter {
  public:
    explicit Waiter(const std::u16string& name) {
        Bench::Require(pipe2(m_orders, O_CLOEXEC) == 0 && pipe2(m_answers, O_CLOEXEC) == 0, "no pipes");
        m_process = fork();
        Bench::Require(m_process >= 0, "no process");
        if (m_process == 0) Serve(name);
    }
    ~Waiter() {
        kill(m_process, SIGKILL);
        waitpid(m_process, nullptr, 0);
        for (const int nDescriptor : {m_orders[0], m_orders[1], m_answers[0], m_answers[1]})
            close(nDescriptor);
    }
    Waiter(const Waiter&) = delete;
    Waiter& operator=(const Waiter&) = delete;

    void Tell() const { Bench::Require(write(m_orders[1], "x", 1) == 1, "the waiter is gone"); }
    Clock::time_point Got() const {
        Clock::time_point time;
        Bench::Require(read(m_answers[0], &time, sizeof time) == sizeof time, "the waiter is gone");
        return time;
    }

  private:
    [[noreturn]] void Serve(const std::u16string& name) const {
        CTNGMutex mutex(name);
        for (char order = 0; read(m_orders[0], &order, 1) == 1;) {
            mutex.Lock(TNG_LOCK_WRITE, TNG_WAIT_FOREVER);
            const auto got = Clock::now();
            mutex.Unlock(false);
            if (write(m_answers[1], &got, sizeof got) != sizeof got) break;
        }
        _exit(1);
    }

    int m_orders[2];
    int m_answers[2];
    pid_t m_process;
};

void WakeUpProcess(benchmark::State& state) {
    const std::string digits = std::to_string(getpid());
    const std::u16string name = u"bench-" + std::u16string(digits.begin(), digits.end());
    const Waiter waiter(name);
    CTNGMutex mutex(name);
    Times times(state);
    for (auto _ : state) {
        mutex.Lock(TNG_LOCK_WRITE, TNG_WAIT_FOREVER);
        waiter.Tell();
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
        const auto released = Clock::now();
        mutex.Unlock(false);
        times.Add(waiter.Got() - released);
    }
}

BENCHMARK(LoadList)->Arg(1'000)->Arg(100'000)->Unit(benchmark::kMillisecond);
BENCHMARK(FindRecord)->Arg(1'000)->Arg(100'000);
BENCHMARK(AppendTenRecords)
    ->Arg(1'000)
    ->Arg(100'000)
    ->Iterations(200)
    ->UseManualTime()
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(ReadHold);
BENCHMARK(WakeUpThread)->Iterations(500)->UseManualTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(WakeUpProcess)->Iterations(500)->UseManualTime()->Unit(benchmark::kMicrosecond);

}  // namespace

int main(int argc, char** argv) {
    return Bench::RunBenchmarks(argc, argv);
}

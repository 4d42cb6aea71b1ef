#include "Comparison.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <optional>

#include "Results.h"

namespace Bench {
namespace {

// Collects the milliseconds of every repetition; the table is printed when all are done.
class TimesReporter : public benchmark::BenchmarkReporter {
  public:
    bool ReportContext(const Context&) override { return true; }

    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            if (run.run_type == Run::RT_Iteration && !run.error_occurred)
                m_times[run.run_name.function_name].push_back(run.GetAdjustedRealTime());
        }
    }

    bool Has(const std::string& name) const { return m_times.count(name) != 0; }

    double Fastest(const std::string& name) const { return *std::ranges::min_element(m_times.at(name)); }

    double Median(const std::string& name) const {
        std::vector<double> times = m_times.at(name);
        std::ranges::sort(times);
        return times[times.size() / 2];
    }

  private:
    std::map<std::string, std::vector<double>> m_times;
};

// `other` without the words that it begins with in common with `name`.
std::string WithoutCommonWords(const std::string& other, const std::string& name) {
    const auto differ = std::ranges::mismatch(other, name).in1;
    const std::string common(other.begin(), differ);
    return other.substr(common.rfind(' ') + 1);  // all of it if there is no space
}

}  // namespace

Comparison::Comparison(int argc, char** argv) {
    // Flags of the command line come later and win.
    std::vector<std::string> arguments = {argv[0], "--benchmark_enable_random_interleaving=true",
                                          "--benchmark_repetitions=15", "--benchmark_min_time=0.03"};
    arguments.insert(arguments.end(), argv + 1, argv + argc);
    std::vector<char*> pointers;
    for (std::string& argument : arguments)
        pointers.push_back(argument.data());
    int count = static_cast<int>(pointers.size());
    pointers.push_back(nullptr);
    benchmark::Initialize(&count, pointers.data());
    m_files.assign(pointers.begin() + 1, pointers.begin() + count);
}

void Comparison::Add(const std::string& name, std::function<void()> work, std::vector<std::string> others,
                     std::size_t nBytes) {
    m_rows.push_back({name, std::move(others), nBytes, {}});
    benchmark::RegisterBenchmark(name.c_str(),
                                 [work = std::move(work)](benchmark::State& state) {
                                     for (auto _ : state)
                                         work();
                                 })
        ->UseRealTime()
        ->Unit(benchmark::kMillisecond);
}

void Comparison::SetBar(const std::string& name, const std::string& other, double bar) {
    std::ranges::find(m_rows, name, &Row::name)->bars[other] = bar;
}

void Comparison::Run() {
    TimesReporter times;
    benchmark::RunSpecifiedBenchmarks(&times);
    std::size_t longest = 0;
    for (const Row& row : m_rows)
        longest = std::max(longest, row.name.size());
    const int width = static_cast<int>(longest);
    std::printf("%-*s %10s %10s  times the time of\n", width, "", "fastest ms", "median ms");
    for (const Row& row : m_rows) {
        if (!times.Has(row.name)) continue;
        const double fastest = times.Fastest(row.name);
        std::printf("%-*s %10.3f %10.3f", width, row.name.c_str(), fastest, times.Median(row.name));
        const char* pszSeparator = "  ";
        const auto bar = [&row](const std::string& other) {
            const auto found = row.bars.find(other);
            return found == row.bars.end() ? std::nullopt : std::optional(found->second);
        };
        Record({row.name, fastest, "ms", "", 0, bar("")});
        for (const std::string& other : row.others) {
            if (!times.Has(other)) continue;
            const std::string floorName = WithoutCommonWords(other, row.name);
            Record({row.name, fastest, "ms", floorName, times.Fastest(other), bar(other)});
            std::printf("%s%.3g x %s", pszSeparator, fastest / times.Fastest(other), floorName.c_str());
            if (bar(other)) std::printf(" (at most %.3g)", *bar(other));
            pszSeparator = ", ";
        }
        if (row.nBytes != 0)
            std::printf("%s%.0f MB/s", pszSeparator, static_cast<double>(row.nBytes) / fastest / 1000);
        std::printf("\n");
    }
}

}  // namespace Bench

#include "RecordedBenchmarks.h"

#include <benchmark/benchmark.h>

#include "Results.h"

namespace Bench {
namespace {

class Recorder : public benchmark::ConsoleReporter {
  public:
    void ReportRuns(const std::vector<Run>& runs) override {
        ConsoleReporter::ReportRuns(runs);
        for (const Run& run : runs) {
            const std::string unit = benchmark::GetTimeUnitString(run.time_unit);
            Record({run.benchmark_name(), run.GetAdjustedRealTime(), unit, "", 0, {}});
        }
    }
};

}  // namespace

int RunBenchmarks(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    Recorder recorder;
    benchmark::RunSpecifiedBenchmarks(&recorder);
    return 0;
}

}  // namespace Bench

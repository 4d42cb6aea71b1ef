#pragma once

namespace Bench {

/// A main() for Google Benchmark programs: prints what that one prints, and records the times; see Results.h.
int RunBenchmarks(int argc, char** argv);

}  // namespace Bench

#pragma once

#include <optional>
#include <string>

namespace Bench {

/// A figure that has been measured, mostly beside a floor: what the same work takes at least, measured in
/// the same run.
struct Figure {
    std::string work;
    double value = 0;
    std::string unit;       // of value and floor
    std::string floorName;  // empty: there is none
    double floor = 0;
    std::optional<double> bar;  // that the ratio, or without a floor the value, must reach
    bool bAtLeast = false;      // the bar is to be passed from above: else the figure has to stay below
};

/// Adds the figure to the file named by QXTNG_BENCH_RESULTS, if there is one: a line of fields parted by
/// tabs, the program, work, value, unit, name of the floor, floor, ratio, bar, and whether the bar holds.
void Record(const Figure& figure);

}  // namespace Bench

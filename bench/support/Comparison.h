#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace Bench {

/// Pieces of work that are measured against each other: all of them in turn, many times over, so that a
/// machine that is busy at times is busy for all of them; the fastest run of each counts.
class Comparison {
  public:
    /// Obeys the flags of Google Benchmark on the command line.
    Comparison(int argc, char** argv);

    /// The arguments that are not flags.
    const std::vector<std::string>& Files() const { return m_files; }

    /// `others` are names of pieces that are added too; the table tells how many times their time this one
    /// takes. `nBytes` is what it processes, for MB/s, or 0.
    void Add(const std::string& name, std::function<void()> work, std::vector<std::string> others = {},
             std::size_t nBytes = 0);

    /// What the time of one piece may be at most, as a multiple of another one's, or in ms if `other` is
    /// empty.
    void SetBar(const std::string& name, const std::string& other, double bar);

    /// Measures, prints the table, and records every ratio; see Results.h.
    void Run();

  private:
    struct Row {
        std::string name;
        std::vector<std::string> others;
        std::size_t nBytes;
        std::map<std::string, double> bars;  // by what the time is compared with
    };

    std::vector<std::string> m_files;
    std::vector<Row> m_rows;
};

}  // namespace Bench

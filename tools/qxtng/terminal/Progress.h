#pragma once

#include <chrono>
#include <cstddef>

namespace Client {

/// How far the work is, in one line on standard error that is drawn over and over; nothing if standard error
/// is no terminal.
class Progress {
  public:
    explicit Progress(std::size_t total);
    ~Progress();  // takes the line away
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// One more is done. Draws a few times a second.
    void Advance();

    /// Takes the line away until the next Advance(), so that something else can be printed.
    void Clear();

  private:
    using Clock = std::chrono::steady_clock;
    void Draw(Clock::time_point now);

    std::size_t m_total;
    std::size_t m_done = 0;
    bool m_isTerminal;
    bool m_isDrawn = false;
    Clock::time_point m_start;
    Clock::time_point m_nextDraw;
};

}  // namespace Client

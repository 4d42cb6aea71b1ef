#include "Progress.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <string>

#include "DescriptorWriter.h"

namespace Client {
namespace {

constexpr std::chrono::milliseconds kDrawInterval{100};

std::size_t TerminalWidth() {
    winsize size{};
    return ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : 80;
}

std::string Bar(double share, std::size_t width) {
    const auto filled = static_cast<std::size_t>(share * static_cast<double>(width));
    return '[' + std::string(filled, '#') + std::string(width - filled, '.') + "] ";
}

}  // namespace

Progress::Progress(std::size_t total)
    : m_total(total), m_isTerminal(isatty(STDERR_FILENO) == 1), m_start(Clock::now()), m_nextDraw(m_start) {}

Progress::~Progress() {
    Clear();
}

void Progress::Advance() {
    ++m_done;
    const auto now = Clock::now();
    if (!m_isTerminal || (now < m_nextDraw && m_done != m_total)) return;
    m_nextDraw = now + kDrawInterval;
    Draw(now);
}

void Progress::Clear() {
    if (!m_isDrawn) return;
    WriteAll(STDERR_FILENO, "\r\033[K");
    m_isDrawn = false;
    m_nextDraw = m_start;
}

void Progress::Draw(Clock::time_point now) {
    constexpr std::size_t kLongestBar = 40;
    const double seconds = std::max(std::chrono::duration<double>(now - m_start).count(), 1e-3);
    const double perSecond = static_cast<double>(m_done) / seconds;
    const auto left = static_cast<unsigned long>(static_cast<double>(m_total - m_done) / perSecond + 0.5);
    char figures[128];
    std::snprintf(figures, sizeof figures, "%zu/%zu  %.0f per second  %lu:%02lu left", m_done, m_total,
                  perSecond, left / 60, left % 60);
    std::string line = figures;
    const std::size_t room = TerminalWidth();
    constexpr std::size_t kBarFrame = 4;  // brackets, a space, and the last column
    if (room > line.size() + kBarFrame + 8) {
        const std::size_t width = std::min(room - line.size() - kBarFrame, kLongestBar);
        line.insert(0, Bar(static_cast<double>(m_done) / static_cast<double>(m_total), width));
    }
    WriteAll(STDERR_FILENO, "\r\033[K" + line.substr(0, room - 1));
    m_isDrawn = true;
}

}  // namespace Client

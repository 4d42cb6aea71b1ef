#include "Interruption.h"

#include <array>
#include <atomic>
#include <csignal>
#include <ctime>

namespace Client {
namespace {

constexpr std::array kEndingSignals = {SIGINT, SIGTERM, SIGHUP};

std::atomic<int> s_signal = 0;
std::atomic<std::time_t> s_when = 0;  // seconds
static_assert(decltype(s_signal)::is_always_lock_free, "a signal handler must not wait");
std::array<struct sigaction, kEndingSignals.size()> s_before;

std::time_t Now() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec;
}

/// A second signal that comes with the first one is the same wish: some programs signal a process and then
/// its group. One that comes later ends the program.
void Remember(int signalNumber) {
    if (s_signal == 0) {
        s_when = Now();
        s_signal = signalNumber;
    } else if (Now() - s_when > 1) {
        std::signal(signalNumber, SIG_DFL);
        std::raise(signalNumber);
    }
}

}  // namespace

Interruption::Interruption() {
    s_signal = 0;
    struct sigaction action {};
    action.sa_handler = &Remember;
    for (std::size_t i = 0; i < kEndingSignals.size(); ++i) {
        sigaction(kEndingSignals[i], nullptr, &s_before[i]);
        if (s_before[i].sa_handler != SIG_IGN) sigaction(kEndingSignals[i], &action, nullptr);
    }
}

Interruption::~Interruption() {
    for (std::size_t i = 0; i < kEndingSignals.size(); ++i)
        sigaction(kEndingSignals[i], &s_before[i], nullptr);
}

int Interruption::Signal() const {
    return s_signal;
}

}  // namespace Client

#include "Interruption.h"

#include <array>
#include <atomic>
#include <csignal>

namespace Client {
namespace {

constexpr std::array kEndingSignals = {SIGINT, SIGTERM, SIGHUP};

std::atomic<int> s_signal = 0;
static_assert(decltype(s_signal)::is_always_lock_free, "a signal handler must not wait");
std::array<struct sigaction, kEndingSignals.size()> s_before;

void Remember(int signalNumber) {
    s_signal = signalNumber;
}

}  // namespace

Interruption::Interruption() {
    s_signal = 0;
    struct sigaction action {};
    action.sa_handler = &Remember;
    action.sa_flags = static_cast<int>(SA_RESETHAND);
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

#include "TNGCalls.h"

#include <atomic>
#include <chrono>
#include <thread>

namespace {

constexpr std::uint32_t kEnded = 1u << 31;
std::atomic<std::uint32_t> s_nCalls{0};  // under way, and kEnded

constexpr std::chrono::milliseconds kLook{1};

}  // namespace

TNGCall::TNGCall() : m_bAdmitted((s_nCalls.fetch_add(1) & kEnded) == 0) {}

TNGCall::~TNGCall() {
    --s_nCalls;
}

bool EndCalls(std::uint32_t timeout) {
    s_nCalls |= kEnded;
    const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeout);
    while (s_nCalls != kEnded) {
        if (std::chrono::steady_clock::now() >= end) return false;
        std::this_thread::sleep_for(kLook);
    }
    return true;
}

#pragma once

#include <atomic>
#include <chrono>
#include <functional>
#include <string>
#include <thread>

#include "api/QxTng.h"
#include "support/Raster.h"

namespace TestSupport {

/// True as soon as the condition holds; false if that takes so long that it never will.
template <typename Condition>
bool Eventually(Condition condition) {
    for (int i = 0; i < 30'000; ++i) {
        if (condition()) return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return false;
}

/// What a client has of one background thread.
struct Request : TNGBackgroundContext {
    Request() : TNGBackgroundContext{&record} {}

    std::uint32_t File(const std::u16string& path, TNGSize box = {160, 160},
                       std::uint32_t eForm = TNG_OUTPUT_IMAGE);

    /// Receives the callbacks: counts, then runs `then`.
    static void OnResult(TNGBackgroundContext* pContext);

    bool WaitForCalls(int nCalls) const {
        return Eventually([&] { return calls == nCalls; });
    }

    TNGThumbnailResult record{};
    unsigned nThreadId = 0;
    std::function<void(Request&)> then = [](Request&) {};
    std::atomic<int> calls{0};
};

bool IsActive(unsigned nThreadId);

/// Takes over and releases a result. The pixels of an image or an ARGB buffer; of a compressed one its bytes
/// as one row of grey.
Raster TakeResult(const TNGThumbnailResult& record);

}  // namespace TestSupport

#include "locks/TNGFileLockRegistry.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "locks/TNGAutoMutexPtr.h"

namespace {

TEST(FileLockRegistry, ALockOutlivesItsEntry) {
    CTNGFileLockRegistry& registry = GetFileLockRegistry();
    registry.RemoveFileLock(1, false);
    std::weak_ptr<CTNGMutex> pLeft;
    {
        const TNGFileLock pLock = registry.GetFileLock(1, false);
        pLeft = pLock;
        const CTNGAutoMutexPtr hold(pLock.get(), true, 0, true);
        std::thread([&] { registry.RemoveFileLock(1, false); }).join();
        EXPECT_EQ(registry.IsFileLocked(1, false), 0);
        EXPECT_EQ(pLock->IsLocked(nullptr), 1);
    }
    EXPECT_TRUE(pLeft.expired());
    ReleaseFileLockRegistry();
}

// Threads use the locks of a few files while others take these locks away.
TEST(FileLockRegistry, ServesManyThreads) {
    std::atomic<bool> bStop{false};
    std::vector<std::thread> threads;
    for (std::uint32_t i = 0; i < 4; ++i) {
        threads.emplace_back([&, i] {
            for (std::uint32_t turn = 0; turn < 2000; ++turn) {
                const TNGFileLock pLock = GetFileLockRegistry().GetFileLock(turn % 5, i % 2 == 0);
                const CTNGAutoMutexPtr hold(pLock.get(), turn % 3 == 0, TNG_WAIT_FOREVER, true);
                EXPECT_EQ(hold.IsLocked(), 1);
            }
        });
    }
    std::thread remover([&] {
        for (std::uint32_t key = 0; !bStop; key = (key + 1) % 5)
            GetFileLockRegistry().RemoveFileLock(key, key % 2 == 0);
    });
    for (std::thread& thread : threads)
        thread.join();
    bStop = true;
    remover.join();
    ReleaseFileLockRegistry();
}

}  // namespace

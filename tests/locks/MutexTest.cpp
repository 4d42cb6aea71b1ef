#include "locks/TNGMutex.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <filesystem>
#include <memory>
#include <thread>
#include <vector>

#include "locks/LockName.h"
#include "locks/OtherProcess.h"
#include "locks/TNGAutoMutexPtr.h"

namespace {

using namespace std::chrono_literals;
using TestSupport::LockName;
using TestSupport::OtherProcess;
using Clock = std::chrono::steady_clock;

// Tries to lock, from another process, what a test holds.
bool IsFree(const OtherProcess& player) {
    if (player.Ask("take 0") != "0") return false;
    return player.Ask("release") == "1";
}

TEST(Mutex, GoesThroughItsStates) {
    const struct {
        const char* pszActions;  // r, w: lock at once; R, W: within 40 ms; u: unlock; f: unlock all
        const char* pszResults;
        const char* pszStates;  // after each action: reading, writing or free
    } cases[] = {
        {"RrRuuuu", "1111111", "rrrrr--"},  // readers join, the last one ends it
        {"wrRwWu", "100001", "wwwww-"},     // a writer is alone
        {"rwWruuW", "1001111", "rrrrr-w"},  // readers keep writers out
        {"rrfuwff", "1111111", "rr--w--"},  // force ends all reads at once
    };
    const LockName name;
    const OtherProcess player(QXTNG_LOCK_PLAYER, {name.Bytes()});
    player.Answer();
    for (const auto& c : cases) {
        auto pMutex = std::make_unique<CTNGMutex>(name.Text());
        for (std::size_t i = 0; c.pszActions[i] != 0; ++i) {
            SCOPED_TRACE(std::string(c.pszActions) + ", " + std::to_string(i));
            const char action = c.pszActions[i];
            const bool bLock = action != 'u' && action != 'f';
            const TNGLockType type = action == 'r' || action == 'R' ? TNG_LOCK_READ : TNG_LOCK_WRITE;
            const std::uint32_t timeout = action == 'R' || action == 'W' ? 40 : 0;
            EXPECT_EQ(bLock ? pMutex->Lock(type, timeout) : pMutex->Unlock(action == 'f'),
                      c.pszResults[i] - '0');
            TNGLockType held = TNG_LOCK_NONE;
            EXPECT_EQ(pMutex->IsLocked(&held), c.pszStates[i] != '-');
            EXPECT_EQ("rw-"[held], c.pszStates[i]);
            EXPECT_EQ(IsFree(player), c.pszStates[i] == '-');
        }
        pMutex.reset();
        EXPECT_TRUE(IsFree(player)) << "gone with its hold";
    }
}

TEST(Mutex, WithoutASemaphoreNothingIsLocked) {
    const LockName name;
    std::filesystem::create_directory(name.File());
    CTNGMutex mutex(name.Text());
    TNGLockType type = TNG_LOCK_WRITE;
    EXPECT_EQ(mutex.Lock(TNG_LOCK_READ, TNG_WAIT_FOREVER), 0);
    EXPECT_EQ(mutex.Unlock(false), 0);
    EXPECT_EQ(mutex.Unlock(true), 0);
    EXPECT_EQ(mutex.IsLocked(&type), 0);
    EXPECT_EQ(type, TNG_LOCK_WRITE) << "not touched";
    CTNGAutoMutexPtr hold(&mutex, true, 10, true);
    EXPECT_EQ(hold.IsLocked(), 0);
}

// A reader that waits for a writer need not wait for the readers that come before it, too.
TEST(Mutex, WaitingReadersJoinAReadHold) {
    for (int i = 0; i < 10; ++i) {
        CTNGMutex mutex;
        ASSERT_EQ(mutex.Lock(TNG_LOCK_WRITE, 0), 1);
        std::atomic<bool> bInside{false};
        std::thread reader([&] {
            EXPECT_EQ(mutex.Lock(TNG_LOCK_READ, i % 2 == 0 ? TNG_WAIT_FOREVER : 20'000), 1);
            bInside = true;
        });
        std::this_thread::sleep_for(5ms);
        mutex.Unlock(false);
        ASSERT_EQ(mutex.Lock(TNG_LOCK_READ, 1000), 1);
        const auto deadline = Clock::now() + 5s;
        while (!bInside && Clock::now() < deadline)
            std::this_thread::yield();
        EXPECT_TRUE(bInside) << "the other reader keeps it out";
        mutex.Unlock(true);
        reader.join();
        if (HasFailure()) break;
    }
}

TEST(Mutex, KeepsManyThreadsInOrder) {
    const LockName name;
    const auto pPrivate = std::make_unique<CTNGMutex>();
    const auto pNamed = std::make_unique<CTNGMutex>(name.Text());
    for (CTNGMutex* pMutex : {pPrivate.get(), pNamed.get()}) {
        std::atomic<int> nReaders{0};
        std::atomic<int> nWriters{0};
        int value = 0;  // not atomic: the lock alone guards it
        int nWritten = 0;
        std::vector<std::thread> threads;
        for (int i = 0; i < 6; ++i) {
            threads.emplace_back([&, i] {
                for (int turn = 0; turn < 400; ++turn) {
                    const bool bWrite = (turn + i) % 4 == 0;
                    const std::uint32_t timeout = turn % 3 == 0 ? 0 : turn % 3 == 1 ? 1 : TNG_WAIT_FOREVER;
                    const CTNGAutoMutexPtr hold(pMutex, bWrite, timeout, true);
                    if (!hold.IsLocked()) continue;
                    if (bWrite) {
                        EXPECT_EQ(++nWriters, 1);
                        EXPECT_EQ(nReaders, 0);
                        ++value;
                        ++nWritten;
                        --nWriters;
                    } else {
                        ++nReaders;
                        EXPECT_EQ(nWriters, 0);
                        EXPECT_GE(value, 0);
                        --nReaders;
                    }
                }
            });
        }
        for (std::thread& thread : threads)
            thread.join();
        EXPECT_EQ(value, nWritten);
        EXPECT_EQ(pMutex->IsLocked(nullptr), 0);
    }
}

// There is one for each cache file, so thousands of them.
TEST(Mutex, PrivateOnesTakeNoDescriptors) {
    const auto descriptors = [] {
        return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
    };
    const auto before = descriptors();
    std::vector<std::unique_ptr<CTNGMutex>> mutexes;
    for (int i = 0; i < 2000; ++i) {
        mutexes.push_back(std::make_unique<CTNGMutex>());
        EXPECT_EQ(mutexes.back()->Lock(TNG_LOCK_WRITE, 0), 1) << "none blocks another";
    }
    EXPECT_EQ(descriptors(), before);
}

TEST(AutoMutex, TakesAndGivesBackItsOwnHold) {
    CTNGMutex mutex;
    {
        CTNGAutoMutexPtr hold(&mutex, false, 0, true);
        EXPECT_EQ(hold.IsLocked(), 1);
        EXPECT_EQ(hold.GetLocked(true), 0) << "it has a hold already";
        EXPECT_EQ(hold.IsLocked(), 1) << "which stays";
        { const CTNGAutoMutexPtr inner(&mutex, false, 0, true); }
        EXPECT_EQ(mutex.IsLocked(nullptr), 1) << "not the other one's to end";
        CTNGAutoMutexPtr other(&mutex, true, 0, true);
        EXPECT_EQ(other.IsLocked(), 0);
        EXPECT_EQ(other.GetLocked(true), 0);
        hold.Release();
        hold.Release();
        EXPECT_EQ(hold.IsLocked(), 0);
        EXPECT_EQ(other.GetLocked(true), 1);
        EXPECT_EQ(hold.GetLocked(false), 0);
        other.Release();
        EXPECT_EQ(hold.GetLocked(false), 1);
    }
    EXPECT_EQ(mutex.IsLocked(nullptr), 0) << "gone with its holder";
    const CTNGAutoMutexPtr later(&mutex, true, 0, false);
    EXPECT_EQ(mutex.IsLocked(nullptr), 0);
    CTNGAutoMutexPtr none(nullptr, true, TNG_WAIT_FOREVER, true);
    EXPECT_EQ(none.GetLocked(true), 0);
    none.Release();
    EXPECT_EQ(none.IsLocked(), 0);
}

}  // namespace

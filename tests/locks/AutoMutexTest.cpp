#include "locks/TNGAutoMutexPtr.h"

#include <gtest/gtest.h>

#include "support/LogCapture.h"

namespace {

using TestSupport::LogCapture;
using Lines = std::vector<std::string>;

constexpr std::uint32_t kInfo = 1u << 6;

TEST(AutoMutex, TakesAndGivesBack) {
    CTNGMutex mutex;
    LogCapture log(kInfo);
    {
        CTNGAutoMutexPtr hold(&mutex, false, 0, true);
        EXPECT_EQ(hold.IsLocked(), 1);
        EXPECT_EQ(hold.GetLocked(true), 0) << "it has a hold already";
        EXPECT_EQ(hold.IsLocked(), 1) << "which stays";
        EXPECT_EQ(log.Take(), Lines{"6 CTNGAutoMutexPtr::ctor, mutex locked"});
        CTNGAutoMutexPtr other(&mutex, true, 0, true);
        EXPECT_EQ(other.IsLocked(), 0);
        EXPECT_EQ(other.GetLocked(true), 0);
        EXPECT_EQ(log.Take(), (Lines{"6 CTNGAutoMutexPtr::ctor, mutex not locked!",
                                     "6 CTNGAutoMutexPtr::GetLocked, unable to lock mutex"}));
        hold.Release();
        hold.Release();
        EXPECT_EQ(hold.IsLocked(), 0);
        EXPECT_EQ(log.Take(), Lines{"6 CTNGAutoMutexPtr::Release, mutex unlocked"}) << "once";
        EXPECT_EQ(other.GetLocked(true), 1);
        EXPECT_EQ(hold.GetLocked(false), 0);
        other.Release();
        EXPECT_EQ(hold.GetLocked(false), 1);
    }
    EXPECT_EQ(mutex.IsLocked(nullptr), 0) << "gone with its holder";
}

TEST(AutoMutex, EndsOnlyItsOwnHold) {
    CTNGMutex mutex;
    const CTNGAutoMutexPtr outer(&mutex, false, 0, true);
    { const CTNGAutoMutexPtr inner(&mutex, false, 0, true); }
    EXPECT_EQ(mutex.IsLocked(nullptr), 1);
    CTNGMutex free;
    LogCapture log(kInfo);
    { const CTNGAutoMutexPtr later(&free, true, 0, false); }
    EXPECT_EQ(log.Take(), Lines{"6 CTNGAutoMutexPtr::ctor, mutex not required to lock initially"});
    EXPECT_EQ(free.IsLocked(nullptr), 0);
}

TEST(AutoMutex, DoesNothingWithoutALock) {
    LogCapture log;
    CTNGAutoMutexPtr hold(nullptr, true, TNG_WAIT_FOREVER, true);
    EXPECT_EQ(hold.IsLocked(), 0);
    EXPECT_EQ(hold.GetLocked(true), 0);
    hold.Release();
    EXPECT_EQ(hold.IsLocked(), 0);
    EXPECT_EQ(log.Take(), Lines{});
}

}  // namespace

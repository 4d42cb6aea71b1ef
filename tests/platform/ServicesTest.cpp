#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <string>

#include "platform/Guid.h"
#include "platform/Memory.h"
#include "platform/Threads.h"
#include "platform/Time.h"

namespace {

using namespace Platform;

TEST(Time, CountsFrom1601) {
    const struct {
        timespec time;
        std::uint64_t expected;
    } cases[] = {
        {{-11'644'473'600, 0}, 0},
        {{-1, 999'999'999}, 116'444'735'999'999'999},
        {{0, 0}, 116'444'736'000'000'000},
        {{1'500'000'000, 123'456'799}, 131'444'736'001'234'567},
        {{253'402'300'799, 0}, 2'650'467'743'990'000'000},
    };
    FILETIME before{};
    for (const auto& c : cases) {
        const FILETIME time = FileTimeFromTimespec(c.time);
        EXPECT_EQ(std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime, c.expected);
        EXPECT_EQ(CompareFileTime(&before, &time), c.expected == 0 ? 0 : -1);
        EXPECT_EQ(CompareFileTime(&time, &before), c.expected == 0 ? 0 : 1);
        before = time;
    }
}

TEST(Guid, HasTheTextFormOfTheStandard) {
    const GUID guid = {0x00C0FFEE, 0x0BAD, 0xF00D, {0x01, 0x23, 0x45, 0x67, 0x89, 0xAB, 0xCD, 0xEF}};
    char16_t text[39] = {};
    EXPECT_EQ(StringFromGUID2(guid, text, 38), 0);
    EXPECT_EQ(StringFromGUID2(guid, text, 39), 39);
    EXPECT_EQ(std::u16string(text), u"{00C0FFEE-0BAD-F00D-0123-456789ABCDEF}");
}

constexpr std::uint32_t kCommitAndReserve = MEM_COMMIT | MEM_RESERVE;

void* AllocatePages(std::size_t nSize) {
    return VirtualAlloc(nullptr, nSize, kCommitAndReserve, PAGE_READWRITE);
}

TEST(Memory, PagesAreWholeAndAligned) {
    for (const std::size_t size : {1, 4096, 4097, 1'000'000}) {
        auto* pBlock = static_cast<char*>(AllocatePages(size));
        ASSERT_NE(pBlock, nullptr);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(pBlock) % 4096, 0u);
        pBlock[(size + 4095) / 4096 * 4096 - 1] = 1;
        EXPECT_FALSE(VirtualFree(pBlock, size, MEM_RELEASE));
        EXPECT_FALSE(VirtualFree(pBlock, 0, 0x4000));
        EXPECT_TRUE(VirtualFree(pBlock, 0, MEM_RELEASE));
    }
    EXPECT_FALSE(VirtualFree(nullptr, 0, MEM_RELEASE));
    char place = 0;
    EXPECT_EQ(VirtualAlloc(&place, 1, kCommitAndReserve, PAGE_READWRITE), nullptr);
    EXPECT_EQ(VirtualAlloc(nullptr, 1, MEM_RESERVE, PAGE_READWRITE), nullptr);
    EXPECT_EQ(VirtualAlloc(nullptr, 1, kCommitAndReserve, 0x2), nullptr);
    EXPECT_EQ(AllocatePages(0), nullptr);
    EXPECT_EQ(AllocatePages(SIZE_MAX), nullptr);
}

TEST(Memory, TheHeapZeroesOnRequest) {
    void* hOther = &hOther;
    EXPECT_EQ(HeapAlloc(hOther, 0, 1), nullptr);
    for (const std::size_t size : {0, 3000}) {
        auto* pBlock = static_cast<char*>(HeapAlloc(GetProcessHeap(), HEAP_ZERO_MEMORY, size));
        ASSERT_NE(pBlock, nullptr);
        EXPECT_EQ(std::string(pBlock, size), std::string(size, '\0'));
        EXPECT_FALSE(HeapFree(hOther, 0, pBlock));
        EXPECT_TRUE(HeapFree(GetProcessHeap(), 0, pBlock));
    }
    EXPECT_TRUE(HeapFree(GetProcessHeap(), 0, nullptr));
}

#ifndef NDEBUG
TEST(MemoryDeathTest, TheWrongReleaseIsNoticed) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    void* pPages = AllocatePages(1);
    void* pHeap = HeapAlloc(GetProcessHeap(), 0, 1);
    EXPECT_DEATH(HeapFree(GetProcessHeap(), 0, pPages), "given to HeapFree");
    EXPECT_DEATH(VirtualFree(pHeap, 0, MEM_RELEASE), "given to VirtualFree");
    EXPECT_TRUE(VirtualFree(pPages, 0, MEM_RELEASE));
    EXPECT_TRUE(HeapFree(GetProcessHeap(), 0, pHeap));
    EXPECT_DEATH(VirtualFree(pPages, 0, MEM_RELEASE), "given to VirtualFree");
}
#endif

// A process that is nice itself has workers that are nicer.
TEST(ThreadsDeathTest, PrioritiesAreSeenFromThatOfTheProcess) {
    for (const int own : {0, 10, 18}) {
        const int expected = std::min(getpriority(PRIO_PROCESS, 0) + own + 5, 19);
        EXPECT_EXIT(
            {
                setpriority(PRIO_PROCESS, 0, getpriority(PRIO_PROCESS, 0) + own);
                unsigned id = 0;
                Platform::Thread* const hThread = Platform::_beginthreadex(
                    [](void*) { return static_cast<unsigned>(pause()); }, nullptr, &id);
                Platform::SetThreadPriority(hThread, Platform::THREAD_PRIORITY_BELOW_NORMAL);
                _exit(getpriority(PRIO_PROCESS, id));
            },
            testing::ExitedWithCode(expected), "");
    }
}

}  // namespace

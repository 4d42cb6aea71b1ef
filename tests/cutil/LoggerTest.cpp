#include "cutil/Logger.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "common/TNGLog.h"
#include "support/LogCapture.h"

namespace {

using QxzCUtil::CLogger;
using TestSupport::LogCapture;

constexpr char16_t s_szLogSource[] = u"LoggerTest";

TEST(Logger, GivesASinkWhatItAskedFor) {
    struct Line {
        std::uint32_t nLevel;
        std::u16string texts[3];
        std::uint32_t nLine;
    };
    std::vector<Line> lines;
    const auto collect = [](void* pContext, std::uint32_t nLevel, const char16_t* pszText,
                            const char16_t* pszModule, const char16_t* pszSource, std::uint32_t nLine) {
        static_cast<std::vector<Line>*>(pContext)->push_back(
            {nLevel, {pszText, pszModule, pszSource}, nLine});
    };
    CLogger::SetSink(collect, &lines, 1u << TNG_LOG_ERROR | 1u << 31);
    for (const std::uint32_t level : {0u, 4u, 5u, 6u, 31u, 32u, 37u, 0xFFFFFFFFu}) {
        const bool bOn = level == 5 || level == 31;
        EXPECT_EQ(CLogger::IsLevelOn(level), bOn) << level;
        CLogger::LogMessage(level, u"text", u"module", u"source", 7);
        EXPECT_EQ(lines.size(), bOn ? 1u : 0u) << level;
        lines.clear();
    }
    TNG_LOG(TNG_LOG_ERROR, u"from the library");
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0].texts[0], u"from the library");
    EXPECT_EQ(lines[0].texts[1], u"qxzthbg2");
    EXPECT_EQ(lines[0].texts[2], u"LoggerTest");
    EXPECT_EQ(lines[0].nLine, static_cast<std::uint32_t>(__LINE__ - 5));

    CLogger::SetSink(nullptr, &lines, ~0u);
    bool bBuilt = false;
    TNG_LOG(TNG_LOG_ERROR, (bBuilt = true, u"costly"));
    EXPECT_FALSE(bBuilt);
    EXPECT_EQ(lines.size(), 1u);
}

// A sink that was taken away is not running and never will again: its context may go.
TEST(Logger, SinksComeAndGoWhileOthersLog) {
    std::atomic<bool> bStop{false};
    std::vector<std::thread> threads;
    for (int i = 0; i < 3; ++i) {
        threads.emplace_back([&bStop] {
            while (!bStop)
                TNG_LOG(TNG_LOG_INFO, u"line");
        });
    }
    std::size_t nLines = 0;
    for (int i = 0; i < 300; ++i) {
        LogCapture capture(i % 3 == 0 ? 0u : ~0u);
        while (i % 3 == 1 && !capture.Has("6 line"))
            std::this_thread::yield();
        nLines += capture.Take().size();
    }
    bStop = true;
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_GE(nLines, 100u);
}

}  // namespace

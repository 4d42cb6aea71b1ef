#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/resource.h>

#include <cstdlib>
#include <memory>
#include <optional>
#include <random>
#include <span>
#include <stdexcept>
#include <vector>

#include "BackgroundCalls.h"
#include "CacheCheck.h"
#include "Thumbnail.h"
#include "common/TNGLog.h"
#include "platform/Memory.h"
#include "platform/Threads.h"
#include "platform/graphics/Image.h"
#include "support/ImageRaster.h"
#include "support/LogCapture.h"
#include "support/PictureWriter.h"
#include "support/TemporaryFolder.h"

namespace {

using namespace TestSupport;
namespace fs = std::filesystem;

const fs::path kSamples = QXTNG_SAMPLES;

// Takes a while to decode, whatever the box. By its name it is a JPEG, and goes through the cache.
Bytes SlowPicture(std::uint32_t nSide) {
    return MakePng(Raster(nSide, nSide, 3));
}

// A cache in use, sound in the end.
class Cache {
  public:
    Cache() {
        // Workers that were stopped may still decode in the last cache.
        const std::u16string folder = TextOf(m_folder.Path());
        EXPECT_TRUE(Eventually([&] { return SetCacheFolder(folder.c_str()) == QXTNG_SUCCESS; }));
        EXPECT_EQ(SetCacheEnabled(1), QXTNG_SUCCESS);
    }
    ~Cache() {
        EXPECT_EQ(ShutDown(), QXTNG_SUCCESS);
        EXPECT_EQ(CacheCheck::CheckCache(m_folder.Path()).errors, 0u);
    }
    Cache(const Cache&) = delete;
    Cache& operator=(const Cache&) = delete;

    const fs::path& Folder() const { return m_folder.Path(); }

  private:
    TemporaryFolder m_folder;
};

// First of all, while there is no folder yet.
TEST(Background, ARequestWaitsForTheCache) {
    const std::u16string good = TextOf(kSamples / "baseline.jpg");
    ASSERT_EQ(SetCacheEnabled(1), QXTNG_SUCCESS);
    Request stopped;
    Request served;
    ASSERT_EQ(stopped.File(good), QXTNG_SUCCESS);
    ASSERT_EQ(served.File(good), QXTNG_SUCCESS);
    EXPECT_EQ(QXStopBackGroundThread(stopped.nThreadId), QXTNG_SUCCESS);
    EXPECT_EQ(served.calls, 0);
    const Cache cache;
    ASSERT_TRUE(served.WaitForCalls(1));
    EXPECT_EQ(TakeResult(served.record).nWidth, 160u);
    EXPECT_EQ(stopped.calls, 0);
}

TEST(Background, GivesWhatTheForegroundGives) {
    const struct {
        const char* pszName;
        TNGSize box;
        std::uint32_t bDefault, eOrigin, eAssetType;
    } cases[] = {
        {"baseline.jpg", {160, 160}, 0, ORIGIN_DECODED, ASSET_TYPE_IMAGE},
        {"baseline.jpg", {32, 32}, 0, ORIGIN_CACHED, ASSET_TYPE_IMAGE},
        {"baseline.jpg", {300, 200}, 0, ORIGIN_DECODED, ASSET_TYPE_IMAGE},
        {"transparent.png", {160, 160}, 0, ORIGIN_DECODED, ASSET_TYPE_IMAGE},
        {"damaged.jpg", {160, 160}, 1, ORIGIN_DEFAULT, ASSET_TYPE_IMAGE},
        {"audio.wav", {160, 160}, 1, ORIGIN_DEFAULT, ASSET_TYPE_AUDIO},
        {"video.mp4", {160, 160}, 1, ORIGIN_DEFAULT, ASSET_TYPE_VIDEO},
    };
    for (const TNGOutputForm eForm : {TNG_OUTPUT_IMAGE, TNG_OUTPUT_COMPRESSED, TNG_OUTPUT_ARGB}) {
        const Cache cache;
        Request request;
        for (const auto& c : cases) {
            SCOPED_TRACE(testing::Message() << c.pszName << ' ' << c.box.nWidth << " form " << eForm);
            const std::u16string path = TextOf(kSamples / c.pszName);
            const int nCalls = request.calls;
            request.record = {&request, 1, 1, 9, 9, 77, 9, 9};
            ASSERT_EQ(request.File(path, c.box, eForm), QXTNG_SUCCESS);
            ASSERT_TRUE(request.WaitForCalls(nCalls + 1));
            EXPECT_EQ(request.record.bDefault, c.bDefault);
            EXPECT_EQ(request.record.eOrigin, c.eOrigin);
            EXPECT_EQ(request.record.eAssetType, c.eAssetType);
            EXPECT_EQ(request.record.eOutputForm, eForm);
            EXPECT_EQ(request.record.nUnused, 77u);
            const Raster made = TakeResult(request.record);
            const Thumbnail expected = Make(eForm, path, c.box, TNG_SOURCE_DECODE_ONLY);
            if (eForm == TNG_OUTPUT_COMPRESSED) {
                EXPECT_TRUE(!made.pixels.empty() && made.pixels == expected.compressed);
            } else {
                // The second one comes from the cache, as a JPEG.
                EXPECT_LE(LargestDifference(made, expected.pixels), 48);
            }
        }
        EXPECT_EQ(ShutDown(), QXTNG_SUCCESS);
        EXPECT_FALSE(IsActive(request.nThreadId));
    }
}

TEST(Background, RefusesAndReports) {
    const TemporaryFolder folder;
    const std::u16string slow = folder.Add("slow.png", SlowPicture(2000));
    const std::u16string good = TextOf(kSamples / "baseline.jpg");
    Request request;
    EXPECT_EQ(request.File(TextOf(folder / "missing.jpg")), QXTNG_ERROR_INVALID_ARGUMENT);
    EXPECT_EQ(request.File(good, {0, 160}), QXTNG_ERROR_INVALID_ARGUMENT);
    EXPECT_EQ(request.nThreadId, 0u);
    pthread_attr_t before;
    pthread_attr_t huge;
    pthread_getattr_default_np(&before);
    pthread_attr_init(&huge);
    pthread_attr_setstacksize(&huge, std::size_t{1} << 47);
    pthread_setattr_default_np(&huge);
    EXPECT_EQ(request.File(good), QXTNG_ERROR_THREAD_RESOURCES);
    pthread_setattr_default_np(&before);
    EXPECT_EQ(request.nThreadId, 0u);
    request.nThreadId = 0x7FFFFFFF;
    EXPECT_EQ(request.File(good), QXTNG_ERROR_THREAD_NOT_FOUND);

    // A second request meanwhile changes nothing of the first one.
    request.nThreadId = 0;
    ASSERT_EQ(request.File(slow), QXTNG_SUCCESS);
    Request other;
    other.record.bDefault = 77;
    other.nThreadId = request.nThreadId;
    EXPECT_EQ(other.File(good, {160, 160}, TNG_OUTPUT_ARGB), QXTNG_ERROR_THREAD_BUSY);
    EXPECT_TRUE(IsActive(request.nThreadId));
    ASSERT_TRUE(request.WaitForCalls(1));
    EXPECT_EQ(TakeResult(request.record).nWidth, 160u);
    EXPECT_EQ(other.record.bDefault, 77u);
    EXPECT_TRUE(IsActive(request.nThreadId));  // and idle

    // A form that there is none of; then nobody to tell, and nothing to tell it by.
    ASSERT_EQ(other.File(good, {160, 160}, 3), QXTNG_SUCCESS);
    ASSERT_TRUE(other.WaitForCalls(1));
    EXPECT_EQ(other.record.pResult, nullptr);
    EXPECT_EQ(other.record.bDefault, 1u);
    other.record = {&other, 1, 1, 9, 9, 77, 0, 9};
    ASSERT_EQ(
        QXGenerateThumbnailInBackGround(good.c_str(), {160, 160}, 0, 0, nullptr, &other, &other.nThreadId),
        QXTNG_SUCCESS);
    other.then = [](Request& r) { r.pRecord = nullptr; };
    ASSERT_TRUE(Eventually([&] { return other.File(good) == QXTNG_SUCCESS; }));  // no longer busy
    ASSERT_TRUE(other.WaitForCalls(2));
    delete static_cast<Gdiplus::Image*>(other.record.pResult);
    ASSERT_EQ(other.File(good), QXTNG_SUCCESS);  // without a record
    ASSERT_TRUE(other.WaitForCalls(3));

    EXPECT_EQ(QXStopBackGroundThread(request.nThreadId), QXTNG_SUCCESS);
    EXPECT_EQ(QXStopBackGroundThread(request.nThreadId), QXTNG_ERROR_THREAD_NOT_FOUND);
    EXPECT_FALSE(IsActive(request.nThreadId));
}

// The callback finds the id where it was asked for, even if it comes before the call has returned.
TEST(Background, TheCallbackFilesTheNextRequest) {
    const std::u16string good = TextOf(kSamples / "palette.bmp");
    for (int i = 0; i < 100; ++i) {
        Request request;
        std::vector<unsigned> threads;
        request.then = [&](Request& r) {
            threads.push_back(Platform::GetCurrentThreadId());
            EXPECT_EQ(getpriority(PRIO_PROCESS, 0),
                      getpriority(PRIO_PROCESS, static_cast<id_t>(getpid())) + 5);
            EXPECT_EQ(TakeResult(r.record).nWidth, 160u);
            const bool bMore = r.calls < 2;
            EXPECT_EQ(bMore ? r.File(good) : QXTNG_SUCCESS, QXTNG_SUCCESS);
        };
        ASSERT_EQ(request.File(good), QXTNG_SUCCESS);
        ASSERT_TRUE(request.WaitForCalls(3));
        EXPECT_EQ(threads, std::vector<unsigned>(3, request.nThreadId));
        EXPECT_EQ(QXStopBackGroundThread(request.nThreadId), QXTNG_SUCCESS);
    }
}

// The record, the context and all that they hold go as soon as the call is back.
TEST(Background, NothingIsTouchedAfterAStop) {
    const Cache cache;
    const TemporaryFolder folder;
    const Bytes slow = SlowPicture(1200);
    std::mt19937 random(1);
    for (int i = 0; i < 240; ++i) {
        auto request = std::make_unique<Request>();
        request->pRecord = new TNGThumbnailResult{};  // on its own, so that the sanitizer tells who it was
        request->then = [](Request& r) {
            TakeResult(*r.pRecord);
            r.pRecord->pResult = nullptr;
        };
        const std::u16string path = folder.Add(i % 3 == 0 ? "slow.png" : "slow.jpg", slow);
        ASSERT_EQ(request->File(path, i % 2 == 0 ? TNGSize{160, 160} : TNGSize{200, 200}), QXTNG_SUCCESS);
        std::this_thread::sleep_for(std::chrono::milliseconds(random() % 24));
        const int nCalls = request->calls;
        if (i % 4 != 3) {
            EXPECT_EQ(QXStopBackGroundThread(request->nThreadId), QXTNG_SUCCESS);
        } else {
            EXPECT_EQ(ShutDown(), QXTNG_SUCCESS);
        }
        EXPECT_LE(request->calls - nCalls, 1);
        EXPECT_EQ(request->pRecord->pResult, nullptr) << "a result with no callback has no owner";
        delete request->pRecord;
    }
}

TEST(Background, CallbacksMayDoAnything) {
    const Cache cache;
    const std::u16string good = TextOf(kSamples / "baseline.jpg");
    static std::atomic<bool> s_bBlocked{false};
    const struct {
        const char* pszName;
        void (*pfnThen)(Request&);
        bool bEnds, bReturns;
    } cases[] = {
        {"throws", [](Request&) { throw std::runtime_error("out of a callback"); }, true, false},
        {"throws something else", [](Request&) { throw 1; }, true, false},
        {"stops its worker",
         [](Request& r) { EXPECT_EQ(QXStopBackGroundThread(r.nThreadId), QXTNG_SUCCESS); }, true, true},
        {"files, then stops its worker",
         [](Request& r) {
             EXPECT_EQ(r.File(TextOf(kSamples / "baseline.jpg")), QXTNG_SUCCESS);
             EXPECT_EQ(QXStopBackGroundThread(r.nThreadId), QXTNG_SUCCESS);
         },
         true, true},
        {"shuts down", [](Request&) { EXPECT_EQ(ShutDown(), QXTNG_SUCCESS); }, true, true},
        {"blocks",
         [](Request&) {
             s_bBlocked = true;
             EXPECT_TRUE(Eventually([] { return !s_bBlocked; }));
         },
         false, true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.pszName);
        LogCapture log(1u << TNG_LOG_EXCEPTION);
        Request request;
        request.then = [&](Request& r) {
            TakeResult(r.record);
            c.pfnThen(r);
        };
        ASSERT_EQ(request.File(good), QXTNG_SUCCESS);
        if (c.bEnds) {
            EXPECT_TRUE(Eventually([&] { return !IsActive(request.nThreadId); }));
            EXPECT_EQ(request.File(good), QXTNG_ERROR_THREAD_NOT_FOUND);
        } else {
            EXPECT_TRUE(Eventually([] { return s_bBlocked.load(); }));
            EXPECT_EQ(QXStopBackGroundThread(request.nThreadId), QXTNG_SUCCESS);
            EXPECT_TRUE(s_bBlocked) << "the callback is left to itself";
            s_bBlocked = false;
        }
        EXPECT_TRUE(request.WaitForCalls(c.bReturns ? 1 : 0));
        EXPECT_EQ(log.Take().size(), c.bReturns ? 0u : 1u);
    }
}

// A client that is told that its thread is gone asks for a new one.
TEST(Background, AShutDownLeavesNoThread) {
    const Cache cache;
    for (int i = 0; i < 5; ++i) {
        std::vector<Request> requests(4);
        for (Request& request : requests) {
            request.then = [](Request& r) {
                TakeResult(r.record);
                const std::u16string path = TextOf(kSamples / "baseline.jpg");
                if (r.File(path) != QXTNG_ERROR_THREAD_NOT_FOUND) return;
                r.nThreadId = 0;
                EXPECT_EQ(r.File(path), QXTNG_ERROR_FAILED);
                EXPECT_EQ(r.nThreadId, 0u);
            };
            ASSERT_EQ(request.File(TextOf(kSamples / "baseline.jpg")), QXTNG_SUCCESS);
        }
        ASSERT_TRUE(Eventually([&] { return requests.back().calls > 1; }));
        EXPECT_EQ(ShutDown(), QXTNG_SUCCESS);
        for (const Request& request : requests)
            EXPECT_FALSE(IsActive(request.nThreadId));
    }
}

// A request that is not small decodes outside of the cache, and feeds it only if it is still there.
TEST(Background, TheCacheMayBeDisabledDuringADecode) {
    const Cache cache;
    const TemporaryFolder folder;
    for (const bool bDisable : {true, false}) {
        const std::u16string slow = folder.Add(bDisable ? "disabled.jpg" : "enabled.jpg", SlowPicture(1200));
        Request request;
        ASSERT_EQ(request.File(slow, {300, 300}), QXTNG_SUCCESS);
        if (bDisable) {
            EXPECT_EQ(SetCacheEnabled(0), QXTNG_SUCCESS);
        }
        ASSERT_TRUE(request.WaitForCalls(1));
        EXPECT_EQ(TakeResult(request.record).nWidth, 300u);
        EXPECT_EQ(SetCacheEnabled(1), QXTNG_SUCCESS);
        int bUpToDate = 0;
        IsCachedThumbnailUpToDate(slow.c_str(), &bUpToDate);
        EXPECT_EQ(bUpToDate, bDisable ? 0 : 1);
    }
}

// A folder for the process of a death test, which runs the beginning of the test, too, and cleans up nothing.
class SharedFolder {
  public:
    SharedFolder() {
        if (std::getenv(kName)) return;
        m_own.emplace();
        setenv(kName, m_own->Path().c_str(), 1);
    }
    ~SharedFolder() {
        if (m_own) unsetenv(kName);
    }
    SharedFolder(const SharedFolder&) = delete;
    SharedFolder& operator=(const SharedFolder&) = delete;

    fs::path Path() const { return std::getenv(kName); }

  private:
    static constexpr const char* kName = "QXTNG_TEST_CACHE";
    std::optional<TemporaryFolder> m_own;
};

// What has been called back for is saved, though it is less than a batch; what is at work does no harm.
TEST(BackgroundDeathTest, AProcessMayEndWithWorkersAtWork) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    const SharedFolder folder;
    EXPECT_EXIT(
        {
            SetCacheFolder(TextOf(folder.Path()).c_str());
            SetCacheEnabled(1);
            // What callbacks use is there to the last: statics go before the library.
            static Request* const pRequests = new Request[3];
            for (Request& request : std::span(pRequests, 3)) {
                request.then = [](Request& r) {
                    TakeResult(r.record);
                    r.File(
                        TextOf(fs::path(QXTNG_SAMPLES) / (r.calls == 0 ? "progressive.jpg" : "lossy.webp")));
                };
                request.File(TextOf(kSamples / "baseline.jpg"));
            }
            Eventually([] { return pRequests->calls >= 2; });
            std::exit(0);
        },
        testing::ExitedWithCode(0), "");
    const CacheCheck::CacheReport report = CacheCheck::CheckCache(folder.Path());
    EXPECT_EQ(report.errors, 0u);
    EXPECT_GE(report.statistics.live, 2u);
}

// Ends the process with something to do after all libraries are gone: buffers are written last.
[[noreturn]] void EndSlowly() {
    cookie_io_functions_t functions{};
    functions.write = [](void*, const char*, std::size_t nBytes) {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        return static_cast<ssize_t>(nBytes);
    };
    std::fputs("buffered", fopencookie(nullptr, "w", functions));
    std::exit(0);
}

// Nothing is taken from under the application's own threads.
TEST(BackgroundDeathTest, AProcessMayEndWithCallsUnderWay) {
    testing::FLAGS_gtest_death_test_style = "threadsafe";  // a forked child takes nothing down
    const SharedFolder folder;
    for (int i = 0; i < 10; ++i) {
        EXPECT_EXIT(
            {
                SetCacheFolder(TextOf(folder.Path()).c_str());
                SetCacheEnabled(1);
                static std::atomic<int> s_nMade{0};
                for (const char* pszName : {"baseline.jpg", "progressive.jpg", "strips.tif"}) {
                    std::thread([path = TextOf(kSamples / pszName)] {
                        for (TNGSize box = {100, 100};; box = {300, 300}) {
                            Make(TNG_OUTPUT_IMAGE, path, box);
                            ++s_nMade;
                        }
                    }).detach();
                }
                Eventually([] { return s_nMade > 5; });
                EndSlowly();
            },
            testing::ExitedWithCode(0), "");
    }
}

// Of a moderate length, that is.
TEST(Background, AStopWaitsForACallback) {
    Request request;
    std::atomic<bool> bBegun{false};
    std::atomic<bool> bOver{false};
    request.then = [&](Request& r) {
        TakeResult(r.record);
        bBegun = true;
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        bOver = true;
    };
    ASSERT_EQ(request.File(TextOf(kSamples / "transparent.png")), QXTNG_SUCCESS);
    ASSERT_TRUE(Eventually([&] { return bBegun.load(); }));
    EXPECT_EQ(QXStopBackGroundThread(request.nThreadId), QXTNG_SUCCESS);
    EXPECT_TRUE(bOver);
    EXPECT_TRUE(request.WaitForCalls(1));
}

}  // namespace

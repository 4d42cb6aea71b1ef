#include <deque>
#include <random>

#include "BackgroundCalls.h"
#include "CacheInUse.h"

namespace {

using namespace TestSupport;

constexpr int kPictures = 24;
constexpr int kWorkers = 16;
constexpr int kRequests = 60;  // a worker

// A chain of requests on one worker that callbacks file.
struct Chain : Request {
    const Gallery* pGallery = nullptr;
    std::minstd_rand random;
    std::atomic<int> nAccepted{0};
    std::atomic<int> nDone{0};
    std::atomic<int> nWrong{0};
    std::atomic<bool> bOver{false};  // no callback will file any more
    int nPicture = 0;

    // Until one is accepted. False if the worker is being stopped, or all is done.
    bool FileNext() {
        if (nAccepted == kRequests) return false;
        nPicture = static_cast<int>(random() % kPictures);
        const std::uint32_t side = random() % 4 == 0 ? 200 : 160;
        ++nAccepted;
        if (File(pGallery->Path(nPicture), {side, side}, random() % 2 ? TNG_OUTPUT_IMAGE : TNG_OUTPUT_ARGB) ==
            QXTNG_SUCCESS)
            return true;
        --nAccepted;
        return false;
    }

    void Begin(const Gallery& gallery, unsigned nSeed) {
        pGallery = &gallery;
        random.seed(nSeed);
        then = [this](Request&) {
            nWrong += NumberShownBy(TakeResult(record)) != nPicture;
            ++nDone;
            if (!FileNext()) bOver = true;
        };
        ASSERT_TRUE(FileNext());
    }
};

// Changes what the cache is until it is told to stop.
void MakeTrouble(const CacheInUse& cache, const TemporaryFolder& other, const std::atomic<bool>& bStop) {
    std::minstd_rand random(7);
    for (int i = 0; !bStop; ++i) {
        const unsigned nChoice = random() % 4;
        if (nChoice == 0) SetCacheFolder(TextOf(i % 2 ? cache.Path() : other.Path()).c_str());
        if (nChoice <= 1) SetCacheEnabled(random() % 3 != 0);
        if (nChoice == 2) LockCache();
        std::this_thread::sleep_for(std::chrono::milliseconds(random() % 8));
        if (nChoice == 2) ReleaseCacheLock();
    }
    SetCacheEnabled(1);
}

// Every request that is accepted and not stopped gets exactly one callback, with the right picture.
TEST(BackgroundLoad, NoCallbackIsLostOrDoubled) {
    const Gallery gallery(kPictures, 0);
    std::deque<Chain> finished(kWorkers);
    std::deque<Chain> stopped(kWorkers / 2);
    const TemporaryFolder other;
    {
        const CacheInUse cache;
        std::atomic<bool> bStop{false};
        std::thread trouble([&] { MakeTrouble(cache, other, bStop); });
        std::thread foreground([&] {
            for (int i = 0; !bStop; i = (i + 1) % kPictures) {
                const Thumbnail made = MakeDecoded(gallery.Path(i));
                EXPECT_TRUE(made.result == QXTNG_ERROR_CACHE_LOCKED || gallery.Shows(made, i));
            }
        });
        std::minstd_rand random(3);
        for (std::size_t i = 0; i < finished.size(); ++i) {
            finished[i].Begin(gallery, static_cast<unsigned>(random()));
            if (i % 2 == 0) stopped[i / 2].Begin(gallery, static_cast<unsigned>(random()));
        }
        for (Chain& chain : stopped) {
            std::this_thread::sleep_for(std::chrono::milliseconds(random() % 20));
            EXPECT_EQ(QXStopBackGroundThread(chain.nThreadId), QXTNG_SUCCESS);
        }
        for (Chain& chain : finished)
            EXPECT_TRUE(Eventually([&] { return chain.bOver.load(); })) << "a callback was lost";
        bStop = true;
        trouble.join();
        foreground.join();
        EXPECT_EQ(ShutDown(), QXTNG_SUCCESS);
        EXPECT_EQ(cache.Findings(false), "");
        EXPECT_EQ(CacheCheck::CheckCache(other.Path()).errors, 0u);
    }
    for (const Chain& chain : finished) {
        EXPECT_EQ(chain.nAccepted, kRequests);
        EXPECT_EQ(chain.nDone, kRequests);
        EXPECT_EQ(chain.nWrong, 0);
    }
    for (const Chain& chain : stopped) {
        const int nDropped = chain.nAccepted - chain.nDone;
        EXPECT_TRUE(nDropped == 0 || nDropped == 1) << nDropped;
        EXPECT_EQ(chain.nWrong, 0);
    }
}

}  // namespace

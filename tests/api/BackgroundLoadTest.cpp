#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <deque>
#include <mutex>
#include <random>
#include <thread>
#include <vector>

#include "BackgroundCalls.h"
#include "CacheCheck.h"
#include "platform/graphics/Image.h"
#include "support/ImageRaster.h"
#include "support/PictureWriter.h"
#include "support/TemporaryFolder.h"

namespace {

using namespace TestSupport;

constexpr int kPictures = 24;
constexpr int kWorkers = 16;
constexpr int kRequests = 60;  // a worker

// Pictures of one colour each, in several folders and formats.
class Pictures {
  public:
    Pictures() {
        for (int i = 0; i < kPictures; ++i) {
            Raster raster(300, 200, 3);
            for (std::size_t at = 0; at < raster.pixels.size(); ++at)
                raster.pixels[at] = Colour(i)[at % 3];
            const std::string name = std::to_string(i % 3) + "/" + std::to_string(i);
            m_paths.push_back(i % 4 == 0 ? m_folder.Add(name + ".png", MakePng(raster))
                                         : m_folder.Add(name + ".jpg", MakeJpeg(raster)));
        }
    }
    const std::u16string& operator[](int i) const { return m_paths[static_cast<std::size_t>(i)]; }

    static std::array<std::uint8_t, 3> Colour(int i) {
        return {static_cast<std::uint8_t>(i * 10), static_cast<std::uint8_t>(250 - i * 10),
                static_cast<std::uint8_t>(i % 2 * 200)};
    }

    static bool IsOf(int i, const Raster& made, std::uint32_t nWidth) {
        if (made.nWidth != nWidth) return false;
        for (std::size_t x = 0; x < made.nWidth; ++x) {
            for (std::size_t c = 0; c < 3; ++c) {
                if (std::abs(made.Row(made.nHeight / 2)[x * made.nChannels + c] - Colour(i)[c]) > 6)
                    return false;
            }
        }
        return true;
    }

  private:
    TemporaryFolder m_folder;
    std::vector<std::u16string> m_paths;
};

// One worker after the other, each with a chain of requests that callbacks file.
struct Chain : Request {
    const Pictures* pPictures = nullptr;
    std::minstd_rand random;
    std::atomic<int> nAccepted{0};
    std::atomic<int> nDone{0};
    std::atomic<int> nWrong{0};
    std::atomic<bool> bOver{false};  // no callback will file any more
    int nPicture = 0;
    TNGSize box{};

    // Until one is accepted. False if the worker is being stopped, or all is done.
    bool FileNext() {
        if (nAccepted == kRequests) return false;
        nPicture = static_cast<int>(random() % kPictures);
        box = random() % 4 == 0 ? TNGSize{200, 200} : TNGSize{160, 160};
        const std::uint32_t eForm = random() % 2 == 0 ? TNG_OUTPUT_IMAGE : TNG_OUTPUT_ARGB;
        ++nAccepted;
        if (File((*pPictures)[nPicture], box, eForm) == QXTNG_SUCCESS) return true;
        --nAccepted;
        return false;
    }

    void Begin(const Pictures& pictures, unsigned nSeed) {
        pPictures = &pictures;
        random.seed(nSeed);
        then = [this](Request&) {
            const Raster made = TakeResult(record);
            if (!Pictures::IsOf(nPicture, made, box.nWidth)) ++nWrong;
            ++nDone;
            if (!FileNext()) bOver = true;
        };
        ASSERT_TRUE(FileNext());
    }
};

// Keeps changing what the cache is until it is told to stop.
class Troublemaker {
  public:
    Troublemaker() : m_thread([this] { Work(); }) {}
    ~Troublemaker() {
        m_bStop = true;
        m_thread.join();
        EXPECT_EQ(ReleaseCacheLock(), QXTNG_SUCCESS);
        EXPECT_EQ(SetCacheEnabled(1), QXTNG_SUCCESS);
        EXPECT_EQ(ShutDown(), QXTNG_SUCCESS);
        for (const TemporaryFolder& folder : m_folders)
            EXPECT_EQ(CacheCheck::CheckCache(folder.Path()).errors, 0u);
    }

  private:
    void Work() {
        std::minstd_rand random(7);
        for (int i = 0; !m_bStop; ++i) {
            const unsigned nChoice = i == 0 ? 0 : random() % 4;
            if (nChoice == 0) SetCacheFolder(TextOf(m_folders[i / 4 % 2].Path()).c_str());
            if (nChoice <= 1) SetCacheEnabled(i == 0 || random() % 3 != 0);
            if (nChoice == 2) LockCache();
            std::this_thread::sleep_for(std::chrono::milliseconds(random() % 8));
            if (nChoice == 2) ReleaseCacheLock();
        }
    }

    std::array<TemporaryFolder, 2> m_folders;
    std::atomic<bool> m_bStop{false};
    std::thread m_thread;
};

// Requests of the foreground, meanwhile.
void AskInForeground(const Pictures& pictures, const std::atomic<bool>& bStop) {
    std::minstd_rand random(9);
    while (!bStop) {
        const int nPicture = static_cast<int>(random() % kPictures);
        Gdiplus::Image* pImage = nullptr;
        int eOrigin = 0;
        int bDefault = 0;
        const std::uint32_t result = QXGenerateThumbnailImageInForeGround(
            pictures[nPicture].c_str(), {160, 160}, TNG_SOURCE_DECODE_ONLY, &pImage, &eOrigin, &bDefault);
        const Raster made = RasterOf(pImage);
        delete pImage;
        if (result == QXTNG_SUCCESS) {
            EXPECT_TRUE(Pictures::IsOf(nPicture, made, 160));
        } else {
            EXPECT_EQ(result, QXTNG_ERROR_CACHE_LOCKED);
        }
    }
}

// Every request that is accepted and not stopped gets exactly one callback, with the right picture.
TEST(BackgroundLoad, NoCallbackIsLostOrDoubled) {
    const Pictures pictures;
    std::deque<Chain> finished(kWorkers);
    std::deque<Chain> stopped(kWorkers / 2);
    std::atomic<bool> bStop{false};
    {
        const Troublemaker trouble;
        std::thread foreground([&] { AskInForeground(pictures, bStop); });
        std::minstd_rand random(3);
        for (std::size_t i = 0; i < finished.size(); ++i) {
            finished[i].Begin(pictures, static_cast<unsigned>(random()));
            if (i % 2 == 0) stopped[i / 2].Begin(pictures, static_cast<unsigned>(random()));
        }
        for (Chain& chain : stopped) {
            std::this_thread::sleep_for(std::chrono::milliseconds(random() % 20));
            EXPECT_EQ(QXStopBackGroundThread(chain.nThreadId), QXTNG_SUCCESS);
        }
        for (Chain& chain : finished)
            EXPECT_TRUE(Eventually([&] { return chain.bOver.load(); })) << "a callback was lost";
        bStop = true;
        foreground.join();
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

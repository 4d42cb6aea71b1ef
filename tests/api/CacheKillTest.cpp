// Two applications that make thumbnails of one folder into one cache, and are killed at any moment: every
// picture must get its own thumbnail afterwards, and the files must be whole. QXTNG_CACHE_KILLS sets how
// often.
#include <chrono>
#include <cstdlib>
#include <random>
#include <thread>

#include "api/CacheInUse.h"
#include "locks/OtherProcess.h"

namespace {

using namespace TestSupport;
namespace fs = std::filesystem;

constexpr int kPictures = 24;
constexpr int kSpare = 24;  // pictures that others are replaced by

int Rounds() {
    const char* pszRounds = std::getenv("QXTNG_CACHE_KILLS");
    return pszRounds ? std::atoi(pszRounds) : 40;
}

// Pictures whose files change, and what each of them holds at present.
struct Album {
    Gallery gallery{kPictures + kSpare, 0};
    std::vector<int> shown = std::vector<int>(kPictures);

    Album() {
        for (int i = 0; i < kPictures; ++i)
            shown[static_cast<std::size_t>(i)] = i;
    }

    void Change(std::mt19937& random) {
        for (int n = static_cast<int>(random() % 8); n > 0; --n) {
            const int i = static_cast<int>(random() % kPictures);
            int& now = shown[static_cast<std::size_t>(i)];
            now = static_cast<int>(random() % (kPictures + kSpare));
            gallery.Put(i, now);
        }
    }

    void ExpectRightThumbnails(std::uint32_t box) const {
        for (int i = 0; i < kPictures; ++i) {
            EXPECT_TRUE(
                gallery.Shows(MakeDecoded(gallery.Path(i), box), shown[static_cast<std::size_t>(i)], box))
                << "picture " << i;
        }
    }
};

TEST(CacheKill, AtAnyMomentLeavesEveryPictureItsThumbnail) {
    const unsigned seed = std::random_device()();
    std::mt19937 random(seed);
    Album album;
    const CacheInUse cache;
    const std::string pictures = std::to_string(kPictures);
    for (int round = 0; round < Rounds() && !testing::Test::HasFailure(); ++round) {
        SCOPED_TRACE(testing::Message() << "round " << round << ", seed " << seed);
        if (random() % 4 == 0) {
            for (const auto& entry : fs::directory_iterator(cache.Path()))
                fs::remove(entry);
        }
        album.Change(random);
        {
            const auto start = [&] {
                return std::vector<std::string>{cache.Path(), std::to_string(random()),
                                                album.gallery.Folder(), pictures};
            };
            OtherProcess one(QXTNG_THUMBNAIL_PLAYER, start()), other(QXTNG_THUMBNAIL_PLAYER, start());
            ASSERT_EQ(one.Answer() + other.Answer(), "readyready");
            one.Tell("loop");
            other.Tell("loop");
            std::this_thread::sleep_for(std::chrono::microseconds(random() % 40'000));
            one.Kill();
            std::this_thread::sleep_for(std::chrono::microseconds(random() % 2 * (random() % 10'000)));
            other.Kill();
        }
        EXPECT_EQ(cache.Findings(false), "") << "right after the kill";
        album.ExpectRightThumbnails(random() % 2 ? 160 : 32);
        ASSERT_EQ(ShutDown(), QXTNG_SUCCESS);
        EXPECT_EQ(cache.Findings(false), "");
    }
}

}  // namespace

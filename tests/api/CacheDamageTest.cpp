// What becomes of a cache whose files are damaged, of pictures that change all the time, and of additions
// that meet.
#include <atomic>
#include <fstream>
#include <functional>
#include <thread>

#include "api/CacheInUse.h"

namespace {

using namespace TestSupport;
namespace fs = std::filesystem;

// Overwrites the end of a file.
void Overwrite(const fs::path& file, std::size_t nBytes) {
    std::fstream stream(file, std::ios::in | std::ios::out | std::ios::binary);
    stream.seekp(-static_cast<std::streamoff>(nBytes), std::ios::end);
    stream << std::string(nBytes, 'x');
}

void Swap(const fs::path& one, const fs::path& other) {
    fs::rename(one, one.string() + ".x");
    fs::rename(other, one);
    fs::rename(one.string() + ".x", other);
}

// Two folders of pictures, saved; the first one's files are 1.dat and 1.db.
TEST(CacheDamage, CostsThumbnailsAndGivesNoWrongOne) {
    constexpr int kPictures = 5;
    const struct {
        const char* pszWhat;
        int nLost;  // thumbnails of the two folders; -1: some
        std::function<void(const CacheInUse&)> damage;
    } cases[] = {
        {"none", 0, [](const CacheInUse&) {}},
        {"trailer overwritten", 1, [](const CacheInUse& cache) { Overwrite(cache / "1.db", 12); }},
        {"data file cut off", -1,
         [](const CacheInUse& cache) { fs::resize_file(cache / "1.db", fs::file_size(cache / "1.db") / 2); }},
        {"data files swapped", 2 * kPictures,
         [](const CacheInUse& cache) { Swap(cache / "1.db", cache / "2.db"); }},
        {"list removed", kPictures, [](const CacheInUse& cache) { fs::remove(cache / "1.dat"); }},
        {"list cut off", -1,
         [](const CacheInUse& cache) {
             fs::resize_file(cache / "1.dat", fs::file_size(cache / "1.dat") / 2);
         }},
        {"index removed", 2 * kPictures,
         [](const CacheInUse& cache) { fs::remove(cache / "DirectoryMap.dat"); }},
    };
    const Gallery first(kPictures, 0), second(kPictures, 100);
    for (const auto& c : cases) {
        for (const bool bLoaded : {false, true}) {
            for (const std::uint32_t box : {160u, 32u}) {
                SCOPED_TRACE(testing::Message()
                             << c.pszWhat << (bLoaded ? ", loaded" : "") << ", box " << box);
                const CacheInUse cache;
                EXPECT_EQ(first.MakeAll() + second.MakeAll(), 0);
                ASSERT_EQ(ShutDown(), QXTNG_SUCCESS);
                if (bLoaded) {
                    ASSERT_EQ(first.MakeAll(box) + second.MakeAll(box), 2 * kPictures);
                }
                c.damage(cache);
                const int nCached = first.MakeAll(box) + second.MakeAll(box);
                // What is in memory needs no list.
                if (c.nLost >= 0 && !bLoaded) {
                    EXPECT_EQ(nCached, 2 * kPictures - c.nLost);
                }
                EXPECT_EQ(first.MakeAll(box) + second.MakeAll(box), 2 * kPictures);
                // A process that has everything in memory does not notice a list that is damaged meanwhile.
                for (int i = 0; i < 2; ++i) {
                    ASSERT_EQ(ShutDown(), QXTNG_SUCCESS);
                    EXPECT_TRUE(first.MakeAll() + second.MakeAll() == 2 * kPictures || (bLoaded && i == 0));
                }
                EXPECT_EQ(cache.Findings(false), "");
            }
        }
    }
}

// The first picture of a folder is saved at once, the next ones by tens.
TEST(CacheBatch, IsSavedAtTheTenthAddition) {
    const Gallery first(25, 0), second(2, 100);
    const CacheInUse cache;
    const auto saved = [&] { return static_cast<int>(cache.Check().statistics.live); };
    for (int i = 0; i < first.Count(); ++i) {
        MakeDecoded(first.Path(i));
        EXPECT_EQ(saved(), 1 + i / 10 * 10) << "after picture " << i;
        EXPECT_EQ(cache.Findings(true), "");
    }
    MakeDecoded(second.Path(0));
    EXPECT_EQ(saved(), 26) << "a new folder takes what waits along";
    MakeDecoded(second.Path(1));
    EXPECT_EQ(saved(), 26);
    EXPECT_EQ(ShutDown(), QXTNG_SUCCESS);
    EXPECT_EQ(saved(), 27);
}

// All files have one size, and many of them the same time but for some milliseconds.
TEST(CacheChange, AReplacedPictureIsNeverShownAgain) {
    const TemporaryFolder folder;
    const CacheInUse cache;
    const std::u16string path = TextOf(folder / "picture.jpg");
    for (std::uint32_t i = 0; i < 400; ++i) {
        const bool bRename = i / 3 % 2 != 0;
        Bytes bytes = MakeCodedJpeg(i);
        bytes.resize(40'000);
        folder.Add(bRename ? "new.jpg" : "picture.jpg", bytes);
        if (bRename) fs::rename(folder / "new.jpg", folder / "picture.jpg");
        for (std::size_t n = 0; n < 1 + i % 2; ++n)
            ASSERT_EQ(NumberShownBy(MakeDecoded(path).pixels), i);
    }
    EXPECT_EQ(ShutDown(), QXTNG_SUCCESS);
    EXPECT_EQ(cache.Findings(false), "");
}

TEST(CacheChange, AdditionsThatMeetLeaveOneEntry) {
    const Gallery gallery(40, 0);
    for (int round = 0; round < 3; ++round) {
        const CacheInUse cache;
        std::atomic<int> nReady{0};
        std::atomic<int> nWrong{0};
        const auto makeAll = [&] {
            for (int i = 0; i < gallery.Count(); ++i) {
                for (++nReady; nReady < 2 * (i + 1);)
                    std::this_thread::yield();
                nWrong += !gallery.Shows(MakeDecoded(gallery.Path(i)), i);
            }
        };
        std::thread other(makeAll);
        makeAll();
        other.join();
        EXPECT_EQ(nWrong, 0);
        EXPECT_EQ(gallery.MakeAll(), gallery.Count());
        EXPECT_EQ(ShutDown(), QXTNG_SUCCESS);
        EXPECT_EQ(cache.Findings(false), "");
        EXPECT_EQ(cache.Check().statistics.live, 40u);
    }
}

}  // namespace

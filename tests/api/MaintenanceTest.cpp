// Keeping a cache in order: what deletions and updates answer, what they leave on the disk, what other
// threads and processes see of them, and what is left of one that is killed.
#include <algorithm>
#include <atomic>
#include <functional>
#include <thread>

#include "api/CacheInUse.h"
#include "locks/KillAtSystemCall.h"
#include "locks/OtherProcess.h"
#include "support/CodedPicture.h"

namespace {

using namespace TestSupport;
namespace fs = std::filesystem;

constexpr std::size_t kLargeFile = 1 << 20;  // with a threshold of 1 MB

// Pictures that say their numbers, in folders of any name.
class Sources {
  public:
    std::u16string Path(const std::string& name) const { return TextOf(m_folder / name); }
    fs::path File(const std::string& name) const { return m_folder / name; }

    /// In place of what was there, at once. Padded to a size, unless that is 0.
    void Put(const std::string& name, std::uint32_t number, std::size_t nBytes = 0) const {
        Bytes bytes = MakeCodedJpeg(number);
        if (nBytes != 0) bytes.resize(nBytes);
        m_folder.Add(name + ".new", bytes);
        fs::rename(m_folder / (name + ".new"), m_folder / name);
    }

    /// The number that is shown of one, which has to come from the cache.
    std::int64_t Cached(const std::string& name, std::uint32_t box = 160) const {
        const Thumbnail shown = MakeDecoded(Path(name), box);
        return shown.eOrigin == ORIGIN_CACHED ? NumberShownBy(shown.pixels) : -2;
    }
    std::int64_t Shown(const std::string& name) const {
        return NumberShownBy(MakeDecoded(Path(name)).pixels);
    }

  private:
    TemporaryFolder m_folder;
};

bool IsUpToDate(const std::u16string& path) {
    int bUpToDate = -1;
    return IsCachedThumbnailUpToDate(path.c_str(), &bUpToDate) == QXTNG_SUCCESS && bUpToDate == 1;
}

struct MaintenanceCase {
    const char* pszWhat;
    std::string name;
    bool bKept;  // it has an entry
    std::function<void(const Sources&, const std::string&)> change;
    std::uint32_t update, accept, remove;  // what the three operations on it answer
};

TEST(Maintenance, AnswersByWhatThereIs) {
    const auto stay = [](const Sources&, const std::string&) {};
    const auto become = [](const Sources& sources, const std::string& name) { sources.Put(name, 2); };
    const auto breakIt = [](const Sources& sources, const std::string& name) {
        fs::resize_file(sources.File(name), 10);
    };
    const auto vanish = [](const Sources& sources, const std::string& name) {
        fs::remove(sources.File(name));
    };
    constexpr auto kGood = QXTNG_SUCCESS;
    constexpr auto kNone = QXTNG_ERROR_NOT_CACHED;
    constexpr auto kNoFile = QXTNG_ERROR_INVALID_ARGUMENT;
    const MaintenanceCase cases[] = {
        {"unchanged", "a/x.jpg", true, stay, kGood, kGood, kGood},
        {"changed", "a/x.jpg", true, become, kGood, kGood, kGood},
        {"broken by now", "a/x.jpg", true, breakIt, QXTNG_ERROR_FAILED, kGood, kGood},
        {"gone by now", "a/x.jpg", true, vanish, kNoFile, kNoFile, kGood},
        {"no entry", "a/x.jpg", false, stay, kNone, kNone, kNone},
        {"no folder", "b/x.jpg", false, stay, kNone, kNone, kNone},
        {"audio", "a/x.mp3", true, become, kNone, kNone, kGood},
        {"video", "a/x.mp4", true, become, kGood, kGood, kGood},
    };
    const std::function<void()> states[] = {[] {}, [] { ShutDown(); },
                                            [] { EXPECT_EQ(ShutDown() + RefreshDBInSysFileCache(), 0u); },
                                            [] { EXPECT_EQ(ShutDown() + InitDB(), 0u); }};
    for (const MaintenanceCase& c : cases) {
        for (std::size_t i = 0; i < 3 * std::size(states); ++i) {
            SCOPED_TRACE(testing::Message() << c.pszWhat << ", " << i);
            const Sources sources;
            const CacheInUse cache;
            sources.Put("a/other.jpg", 7);
            sources.Put(c.name, 1);
            const std::u16string path = sources.Path(c.name);
            for (const std::string& name : {std::string("a/other.jpg"), c.name}) {
                if (c.bKept || name != c.name) MakeDecoded(sources.Path(name));
            }
            c.change(sources, c.name);
            states[i / 3]();
            const auto operation = i % 3 == 0   ? UpdateThumbnail
                                   : i % 3 == 1 ? UpdateFileInfo
                                                : DeleteThumbnail;
            const std::uint32_t expected = i % 3 == 0 ? c.update : i % 3 == 1 ? c.accept : c.remove;
            EXPECT_EQ(operation(path.c_str()), expected);
            int bCached = -1;
            EXPECT_EQ(IsFileCached(path.c_str(), &bCached), kGood);
            const bool bStays = c.bKept && c.name != "a/x.mp3" && i % 3 != 2;
            EXPECT_TRUE(bCached == bStays || expected == kNoFile)
                << "nothing was loaded for a file that is gone";
            EXPECT_EQ(IsUpToDate(path), bStays && expected == kGood);
            EXPECT_EQ(sources.Cached("a/other.jpg"), 7);
            EXPECT_EQ(ShutDown(), kGood);
            EXPECT_EQ(cache.Findings(true), "");
            EXPECT_EQ(cache.Check().statistics.noThumbnails, bStays && c.name == "a/x.mp4" ? 1u : 0u);
        }
    }
}

TEST(Maintenance, AnswersForFoldersAndForAll) {
    const Sources sources;
    const CacheInUse cache;
    for (const char* pszName : {"a/0.jpg", "a/1.jpg", "b/0.jpg", "c/0.jpg"})
        sources.Put(pszName, 1);
    const auto folder = [&](const char* pszName) { return sources.Path(pszName); };
    EXPECT_EQ(UpdateAllOfCache(), QXTNG_SUCCESS) << "there is none";
    EXPECT_EQ(RefreshDBInSysFileCache(), QXTNG_ERROR_NOT_CACHED);
    for (const int nKept : {0, 1}) {
        EXPECT_EQ(UpdateFolder(folder("c").c_str()), QXTNG_ERROR_NOT_CACHED) << nKept;
        EXPECT_EQ(DeleteFolder(folder("c").c_str()), QXTNG_ERROR_NOT_CACHED) << nKept;
        for (const char* pszName : {"a/0.jpg", "a/1.jpg", "b/0.jpg"})
            EXPECT_EQ(sources.Shown(pszName), 1);
    }
    EXPECT_EQ(UpdateFolder(folder("a").c_str()), QXTNG_SUCCESS) << "nothing has changed";
    EXPECT_EQ(UpdateFolder(folder("a/").c_str()), QXTNG_ERROR_NOT_CACHED) << "by another name";
    fs::remove(sources.File("a/0.jpg"));
    EXPECT_EQ(UpdateFolder(folder("a").c_str()), QXTNG_SUCCESS);
    EXPECT_EQ(DeleteThumbnail(folder("a/0.jpg").c_str()), QXTNG_ERROR_NOT_CACHED) << "it is gone";
    // A list of which nothing can be read is one folder's loss, and all that is told.
    EXPECT_EQ(ShutDown(), QXTNG_SUCCESS);
    fs::resize_file(cache / "2.dat", 2);
    sources.Put("a/1.jpg", 2);
    EXPECT_EQ(UpdateAllOfCache(), QXTNG_ERROR_NOT_CACHED);
    EXPECT_EQ(sources.Cached("a/1.jpg"), 2);
    EXPECT_EQ(sources.Shown("b/0.jpg"), 1);
    EXPECT_EQ(ShutDown(), QXTNG_SUCCESS);
    EXPECT_EQ(cache.Findings(false), "");
    EXPECT_EQ(cache.Check().statistics.live, 2u);
}

// By each of the three ways, of files that are large or not; with the dead blocks that this leaves, until the
// cache is saved.
TEST(Maintenance, UpdatesShowTheNewPicture) {
    ASSERT_EQ(SetThresholdFileSize(1), QXTNG_SUCCESS);
    const std::function<std::uint32_t(const Sources&)> updates[] = {
        [](const Sources& sources) {
            return UpdateThumbnail(sources.Path("a/0.jpg").c_str()) |
                   UpdateThumbnail(sources.Path("a/1.jpg").c_str());
        },
        [](const Sources& sources) { return UpdateFolder(sources.Path("a").c_str()); },
        [](const Sources&) { return UpdateAllOfCache(); },
    };
    const auto start = fs::file_time_type::clock::now();
    for (const auto& update : updates) {
        for (const bool bSameTime : {false, true}) {
            const Sources sources;
            const CacheInUse cache;
            const auto put = [&](const std::string& name, std::uint32_t number, std::size_t nBytes) {
                sources.Put(name, number, bSameTime ? nBytes + number : nBytes);
                fs::last_write_time(sources.File(name), start - std::chrono::hours(bSameTime ? 1 : number));
            };
            put("a/0.jpg", 1, 40'000);
            put("a/1.jpg", 2, kLargeFile);
            put("a/2.jpg", 3, 40'000);
            for (const char* pszName : {"a/0.jpg", "a/1.jpg", "a/2.jpg"})
                MakeDecoded(sources.Path(pszName));
            put("a/0.jpg", 11, 40'000);
            put("a/1.jpg", 12, kLargeFile);
            EXPECT_EQ(update(sources), QXTNG_SUCCESS);
            const auto nBytes = fs::file_size(cache / "1.db");
            EXPECT_EQ(update(sources), QXTNG_SUCCESS);
            EXPECT_EQ(fs::file_size(cache / "1.db"), nBytes) << "there was nothing to be done";
            for (const bool bSaved : {false, true}) {
                for (const std::uint32_t box : {160u, 32u}) {
                    EXPECT_EQ(sources.Cached("a/0.jpg", box), 11);
                    EXPECT_EQ(sources.Cached("a/1.jpg", box), 12);
                    EXPECT_EQ(sources.Cached("a/2.jpg", box), 3);
                }
                EXPECT_EQ(sources.Cached("a/1.jpg", 800), 12);
                if (bSaved) break;
                EXPECT_EQ(ShutDown(), QXTNG_SUCCESS);
            }
            EXPECT_LT(fs::file_size(cache / "1.db"), nBytes);
            EXPECT_EQ(cache.Check().statistics.deadBytes, 0u);
            EXPECT_EQ(cache.Findings(true), "");
        }
    }
}

TEST(Maintenance, IsSavedAtOnceWhereItSaysSo) {
    const Sources sources;
    const CacheInUse cache;
    const OtherProcess player(QXTNG_THUMBNAIL_PLAYER, {cache.Path()});
    const auto ask = [&](const std::string& command, const char* pszName) {
        return player.Ask(command + ' ' + sources.File(pszName).native());
    };
    for (const char* pszName : {"a/0.jpg", "a/1.jpg", "a/2.jpg", "b/0.jpg"}) {
        sources.Put(pszName, 1);
        MakeDecoded(sources.Path(pszName));
    }
    EXPECT_EQ(ShutDown(), QXTNG_SUCCESS);
    EXPECT_EQ(ask("current", "a/0.jpg") + ask("current", "b/0.jpg"), "0 10 1");
    sources.Put("a/0.jpg", 2);
    EXPECT_EQ(UpdateFileInfo(sources.Path("a/0.jpg").c_str()), QXTNG_SUCCESS);
    EXPECT_EQ(ask("current", "a/0.jpg"), "0 1");
    EXPECT_EQ(sources.Cached("a/0.jpg"), 1) << "it was told that the old thumbnail is good";
    EXPECT_EQ(DeleteThumbnail(sources.Path("a/1.jpg").c_str()), QXTNG_SUCCESS);
    EXPECT_EQ(cache.Check().statistics.live, 3u);
    EXPECT_EQ(ask("update", "a/1.jpg"), "8");
    EXPECT_EQ(DeleteThumbnail(sources.Path("b/0.jpg").c_str()), QXTNG_SUCCESS);
    EXPECT_EQ(cache.Findings(true), "") << "nothing is left of the folder";
    EXPECT_EQ(ask("update", "b/0.jpg"), "8");
    sources.Put("a/2.jpg", 3);
    EXPECT_EQ(UpdateThumbnail(sources.Path("a/2.jpg").c_str()), QXTNG_SUCCESS);
    EXPECT_EQ(ask("current", "a/2.jpg"), "0 0") << "that is saved at the end";
    EXPECT_EQ(ShutDown(), QXTNG_SUCCESS);
    EXPECT_EQ(ask("current", "a/2.jpg"), "0 1");
    EXPECT_EQ(ask("rmfolder", "a"), "0");
    EXPECT_EQ(UpdateThumbnail(sources.Path("a/2.jpg").c_str()), QXTNG_ERROR_NOT_CACHED);
    EXPECT_EQ(cache.Check().statistics.folders, 0u);
    EXPECT_EQ(std::distance(fs::directory_iterator(cache.Path()), {}), 1) << "the time of the change";
}

// Entries go and are replaced, files change, and the folder vanishes, while updates are at work on copies. No
// thread is in the background, so that a save, with the compaction that it makes, may meet all of this, too.
TEST(Maintenance, UpdatesMeetChanges) {
    constexpr int kPictures = 6;
    constexpr std::uint32_t kVersions = 60;
    const Sources sources;
    const CacheInUse cache;
    const std::u16string folder = sources.Path("a");
    const auto name = [](unsigned i) { return "a/" + std::to_string(i % kPictures) + ".jpg"; };
    std::atomic<std::uint32_t> begun{0}, done{0};  // versions; even ones are there
    const auto put = [&](std::uint32_t version) {
        begun = version;
        for (unsigned i = 0; i < kPictures; ++i)
            sources.Put(name(i), i << 16 | version);
        done = version;
    };
    put(0);
    const auto show = [&](unsigned i) {
        const std::uint32_t from = done;
        const Thumbnail shown = MakeDecoded(sources.Path(name(i)));
        const std::uint32_t to = begun;
        if (to % 2 != 0 || from != to) return;
        EXPECT_EQ(NumberShownBy(shown.pixels), (i % kPictures) << 16 | from);
    };
    const auto expectCode = [](std::uint32_t result) {
        // The last: a save may meet the deletion of the last folder, and write an index of none.
        const std::uint32_t fair[] = {QXTNG_SUCCESS, QXTNG_ERROR_NOT_CACHED, QXTNG_ERROR_FAILED,
                                      QXTNG_ERROR_INVALID_ARGUMENT, QXTNG_ERROR_FILE_READ};
        EXPECT_NE(std::ranges::find(fair, result), std::end(fair)) << result;
    };
    const std::function<void(unsigned)> works[] = {
        [&](unsigned i) { expectCode(UpdateThumbnail(sources.Path(name(i)).c_str())); },
        [&](unsigned) { expectCode(UpdateFolder(folder.c_str())); },
        [&](unsigned i) { expectCode(i % 4 ? UpdateAllOfCache() : ShutDown()); },
        [&](unsigned i) {
            expectCode(i % 8 ? DeleteThumbnail(sources.Path(name(i)).c_str()) : DeleteFolder(folder.c_str()));
            show(i);
        },
        show,
    };
    std::atomic<bool> bStop{false};
    std::vector<std::thread> threads;
    for (const auto& work : works) {
        threads.emplace_back([&] {
            for (unsigned i = 0; !bStop; ++i)
                work(i);
        });
    }
    for (std::uint32_t version = 2; version < kVersions && !HasFailure(); version += 2) {
        if (version % 8 == 0) {
            begun = version - 1;
            fs::rename(sources.File("a"), sources.File("away"));
            fs::remove_all(sources.File("away"));
        }
        put(version);
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    bStop = true;
    for (std::thread& thread : threads)
        thread.join();
    for (const bool bSaved : {false, true}) {
        for (unsigned i = 0; i < kPictures; ++i)
            show(i);
        EXPECT_EQ(ShutDown(), QXTNG_SUCCESS) << bSaved;
        EXPECT_EQ(cache.Findings(false), "");
    }
}

// The process that is killed works on a cache of two folders, one of whose files has changed.
TEST(Maintenance, KilledAtASystemCallLeavesARightCache) {
    const Sources sources;
    const auto name = [](int i) { return (i < 5 ? "a/" : "b/") + std::to_string(i) + ".jpg"; };
    constexpr int kPictures = 7;
    const std::string first = sources.File(name(0)), changed = sources.File(name(1));
    const TemporaryFolder saved, target("/dev/shm");
    const std::string folder = sources.File("a"), move = "folder " + target.Path().native();
    const std::vector<std::vector<std::string>> cases = {
        {"delete " + first, "shutdown"},  // a compaction
        {"updateall", "shutdown"},        // another one
        {"updateall"},
        {"accept " + changed},
        {"delete " + first},
        {"delete " + sources.File(name(5)).native(), "delete " + sources.File(name(6)).native()},
        {"rmfolder " + folder},
        {"update " + first, move},
    };
    const CacheInUse cache;
    for (int i = 0; i < kPictures; ++i) {
        sources.Put(name(i), static_cast<std::uint32_t>(i));
        MakeDecoded(sources.Path(name(i)));
    }
    EXPECT_EQ(ShutDown(), QXTNG_SUCCESS);
    fs::copy(cache.Path(), saved.Path(), fs::copy_options::recursive);
    sources.Put(name(1), 1, 30'000);
    for (const auto& commands : cases) {
        bool bKilled = true;
        for (int n = 1; bKilled && !HasFailure(); n += QXTNG_KILL_STRIDE) {
            SCOPED_TRACE(commands.back() + ", system call " + std::to_string(n));
            for (const fs::path& each : {cache.Path(), target.Path()}) {
                for (const auto& entry : fs::directory_iterator(each))
                    fs::remove(entry);
            }
            fs::copy(saved.Path(), cache.Path());
            std::vector<std::string> arguments = {cache.Path()};
            arguments.insert(arguments.end(), commands.begin(), commands.end());
            bKilled = KillAtSystemCall(n, QXTNG_THUMBNAIL_PLAYER, arguments);
            for (int i = 0; i < kPictures; ++i)
                EXPECT_EQ(sources.Shown(name(i)), i);
            EXPECT_EQ(ShutDown(), QXTNG_SUCCESS);
            EXPECT_EQ(InitDB() + ShutDown(), 0u);
            EXPECT_EQ(cache.Findings(false), "");
            if (commands.back() != move) continue;
            const OtherProcess other(QXTNG_THUMBNAIL_PLAYER, {target.Path()});
            for (int i = 0; i < kPictures; ++i)
                EXPECT_EQ(other.Ask("show " + sources.File(name(i)).native() + " 160")[0], '0' + i);
            EXPECT_EQ(other.Ask("shutdown"), "0");
            EXPECT_EQ(CacheCheck::CheckCache(target.Path()).errors, 0u);
        }
    }
}

}  // namespace

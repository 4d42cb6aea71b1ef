// Setting, locking, loading and moving the cache as a whole, through the exports.
#include <fstream>
#include <functional>
#include <map>
#include <vector>

#include "common/TNGFileInfo.h"
#include "locks/Outsider.h"
#include "multiprocess/UsedCache.h"
#include "platform/Memory.h"
#include "platform/Text.h"
#include "store/StoreFixture.h"
#include "support/ResourceLimit.h"

namespace fs = std::filesystem;

namespace {

using namespace CacheUse;
using TestSupport::Outsider;
using TestSupport::TemporaryFolder;
using TestSupport::TextOf;

std::u16string CacheFolder() {
    char16_t* pszFolder = nullptr;
    EXPECT_EQ(GetCacheFolder(&pszFolder), QXTNG_SUCCESS);
    const std::u16string folder = pszFolder;
    EXPECT_TRUE(HeapFree(GetProcessHeap(), 0, pszFolder));
    return folder;
}

bool IsEnabled() {
    int bEnabled = -1;
    EXPECT_EQ(GetCacheEnabled(&bEnabled), QXTNG_SUCCESS);
    return bEnabled == 1;
}

int CachedPictures() {
    int nCached = 0;
    for (int number = 0; number < kPictures; ++number) {
        int bCached = 0;
        EXPECT_EQ(IsFileCached(PathOf(number).c_str(), &bCached), QXTNG_SUCCESS);
        nCached += bCached;
    }
    return nCached;
}

using Files = std::map<std::string, std::string>;

// The files of a folder by name, without the date-time file.
Files FilesIn(const fs::path& folder) {
    Files files;
    for (const auto& entry : fs::directory_iterator(folder)) {
        if (entry.is_regular_file()) files[entry.path().filename()] = TestSupport::ReadFile(entry.path());
    }
    files.erase("CacheUpdateInfo.txt");
    return files;
}

TEST(CacheLife, LoadsByItsState) {
    const UsedCache cache;
    const TemporaryFolder unknown;
    const std::u16string known = TextOf(unknown.Path());
    std::ofstream(cache.Folder() / "not a cache's").close();
    const auto load = [&] { return InitDBFolder(known.c_str()); };
    const struct {
        const char* pszWhat;
        std::function<std::uint32_t()> call;
        std::uint32_t expected;
        int nCached;
    } steps[] = {
        {"one list is there", [] { return QXTNG_SUCCESS; }, QXTNG_SUCCESS, 2},
        {"a folder that is not in the cache", load, QXTNG_ERROR_NOT_CACHED, 2},
        {"all of it", &InitDB, QXTNG_SUCCESS, 4},
        {"nothing is missing", load, QXTNG_SUCCESS, 4},
        {"again", &InitDB, QXTNG_SUCCESS, 4},
        {"saved and forgotten", &ShutDown, QXTNG_SUCCESS, 0},
        {"there is nothing to save", &ShutDown, QXTNG_SUCCESS, 0},
        {"the index alone", load, QXTNG_SUCCESS, 0},
        {"all of it, from there", &InitDB, QXTNG_SUCCESS, 4},
        {"enabled before", [] { return SetCacheEnabled(7); }, QXTNG_SUCCESS, 4},
        {"deleted", [] { return SetCacheEnabled(0) + SetCacheEnabled(1); }, QXTNG_SUCCESS, 0},
        {"nothing there", &InitDB, QXTNG_ERROR_NOT_CACHED, 0},
        {"and no folder", load, QXTNG_ERROR_NOT_CACHED, 0},
    };
    for (const auto& step : steps) {
        SCOPED_TRACE(step.pszWhat);
        EXPECT_EQ(step.call(), step.expected);
        EXPECT_EQ(CachedPictures(), step.nCached);
    }
    EXPECT_EQ(FilesIn(cache.Folder()), (Files{{"not a cache's", ""}}));
    EXPECT_EQ(SetCacheEnabled(0), QXTNG_SUCCESS);
    EXPECT_EQ(InitDB(), QXTNG_ERROR_CACHE_DISABLED);
    EXPECT_EQ(ShutDown(), QXTNG_ERROR_CACHE_DISABLED);
    EXPECT_EQ(LockCache(), QXTNG_SUCCESS) << "a cache that is off can be locked";
    EXPECT_EQ(ReleaseCacheLock(), QXTNG_SUCCESS);
    EXPECT_EQ(SetCacheEnabled(1), QXTNG_SUCCESS);
}

TEST(CacheLife, TheClientLocksOnceAndAcrossFolders) {
    const UsedCache cache;
    const Outsider here(QXTNG_LOCK_PLAYER, cache.Text());
    const Outsider there(QXTNG_LOCK_PLAYER, cache.OtherText());
    const struct {
        const char* pszWhat;
        std::function<std::uint32_t()> call;
        bool bHere;  // another process can enter
        bool bThere;
    } steps[] = {
        {"release of nothing", &ReleaseCacheLock, true, true},
        {"lock", &LockCache, false, true},
        {"lock again", &LockCache, false, true},
        {"another folder", [&] { return SetCacheFolder(cache.OtherText().c_str()); }, true, false},
        {"work", &InitDB, true, false},
        {"back", [&] { return SetCacheFolder(cache.Text().c_str()); }, false, true},
        {"release", &ReleaseCacheLock, true, true},
        {"release again", &ReleaseCacheLock, true, true},
    };
    for (const auto& step : steps) {
        SCOPED_TRACE(step.pszWhat);
        EXPECT_EQ(step.call(), QXTNG_SUCCESS);
        EXPECT_EQ(here.CanEnter(), step.bHere);
        EXPECT_EQ(there.CanEnter(), step.bThere);
    }
    Outsider inside(QXTNG_LOCK_PLAYER, cache.Text());
    EXPECT_TRUE(inside.Enter());
    EXPECT_EQ(SetCacheEnabled(1), QXTNG_SUCCESS) << "needs no lock to change nothing";
    EXPECT_EQ(SetCacheFolder(cache.Text().c_str()), QXTNG_SUCCESS);
}

TEST(CacheLife, DoesNotChangeUnderOneWhoStaysInside) {
    const UsedCache cache;
    const std::u16string before = cache.Text();
    const std::u16string after = cache.OtherText();
    const auto move = [&] { return SetCacheFolder(after.c_str()); };
    const Files files = FilesIn(cache.Folder());
    {
        const CTNGCacheEntry stay(u"Stay", u"Test");
        EXPECT_EQ(move(), QXTNG_ERROR_FAILED);
        EXPECT_FALSE(s_bAbandonThreads);
        EXPECT_EQ(SetCacheEnabled(0), QXTNG_ERROR_LOCK_FAILED);
        EXPECT_FALSE(s_bAbandonThreads);
        EXPECT_TRUE(IsEnabled());
        EXPECT_EQ(CacheFolder(), before);
        EXPECT_EQ(FilesIn(cache.Folder()), files);
        EXPECT_EQ(InitDB(), QXTNG_SUCCESS) << "others may enter again";
    }
    const Outsider outsider(QXTNG_LOCK_PLAYER, before);
    CTNGCacheEntry stay(u"Stay", u"Test");
    EXPECT_EQ(LockCache(), QXTNG_SUCCESS);
    EXPECT_EQ(move(), QXTNG_SUCCESS) << "the client waits for nobody";
    EXPECT_FALSE(s_bAbandonThreads);
    EXPECT_EQ(ReleaseCacheLock(), QXTNG_SUCCESS);
    EXPECT_FALSE(outsider.CanEnter()) << "one has not left the old folder";
    stay.Leave();
    EXPECT_TRUE(outsider.CanEnter());
    EXPECT_EQ(FilesIn(cache.Other()), files);
}

// Runs with something in the way of the move to the other folder. Whether the cache has been moved.
bool MoveAgainst(const UsedCache& cache, const std::function<void()>& hinder,
                 const std::function<void()>& clear) {
    const Files files = FilesIn(cache.Folder());
    hinder();
    const Files other = FilesIn(cache.Other());
    const std::uint32_t result = SetCacheFolder(cache.OtherText().c_str());
    const bool bMoved = result == QXTNG_SUCCESS;
    EXPECT_TRUE(bMoved || result == QXTNG_ERROR_FAILED) << result;
    EXPECT_FALSE(s_bAbandonThreads);
    EXPECT_EQ(CacheFolder(), bMoved ? cache.OtherText() : cache.Text());
    EXPECT_TRUE(bMoved || FilesIn(cache.Other()) == other) << "nothing of it stays behind";
    clear();
    EXPECT_EQ(FilesIn(bMoved ? cache.Other() : cache.Folder()), files);
    EXPECT_EQ(InitDB(), QXTNG_SUCCESS);
    EXPECT_EQ(CachedPictures(), kPictures);
    return bMoved;
}

TEST(CacheLife, AMoveThatFailsLeavesAllAsItWas) {
    UsedCache cache;
    for (const char* pszName : {"DirectoryMap.dat", "1.dat", "1.db", "2.dat", "2.db"}) {
        SCOPED_TRACE(pszName);
        const fs::path place = cache.Other() / pszName;
        EXPECT_FALSE(MoveAgainst(
            cache, [&] { fs::create_directory(place); }, [&] { fs::remove(place); }));
    }
    const std::size_t largest = fs::file_size(cache.Folder() / "1.dat");
    for (std::size_t limit = 0; limit < largest; limit += 1 + limit / 2) {
        SCOPED_TRACE("no file above " + std::to_string(limit) + " bytes");
        std::unique_ptr<TestSupport::FileSizeLimit> pLimit;
        EXPECT_FALSE(MoveAgainst(
            cache, [&] { pLimit = std::make_unique<TestSupport::FileSizeLimit>(limit); },
            [&] { pLimit.reset(); }));
    }
    EXPECT_EQ(SetCacheFolder(cache.Text().c_str()), QXTNG_SUCCESS);
}

// Nothing is moved to where nobody could enter, and that is not for ever.
TEST(CacheLife, AFolderWithoutALockIsNotTaken) {
    const UsedCache cache;
    const Files files = FilesIn(cache.Folder());
    std::u16string name;
    CTNGFileInfo::GetHashCode(cache.OtherText() + u"_ThumbnailGenerator", name);
    const fs::path lockFile =
        "/dev/shm/qxtng-" + std::to_string(geteuid()) + '-' + Platform::PathToBytes(name);
    fs::create_directory(lockFile);
    EXPECT_EQ(SetCacheFolder(cache.OtherText().c_str()), QXTNG_ERROR_FAILED);
    EXPECT_EQ(CacheFolder(), cache.Text());
    EXPECT_EQ(FilesIn(cache.Folder()), files);
    fs::remove(lockFile);
    EXPECT_EQ(SetCacheFolder(cache.OtherText().c_str()), QXTNG_SUCCESS);
    EXPECT_EQ(FilesIn(cache.Other()), files);
}

// Memory names files by their numbers, which in another folder are other files.
TEST(CacheLife, MemoryGoesNowhereWithoutItsFiles) {
    const UsedCache cache;
    EXPECT_EQ(InitDB(), QXTNG_SUCCESS);
    fs::copy(cache.Folder(), cache.Other());
    const Files files = FilesIn(cache.Other());
    fs::remove(cache.Folder() / "DirectoryMap.dat");
    EXPECT_EQ(SetCacheFolder(cache.OtherText().c_str()), QXTNG_SUCCESS);
    EXPECT_EQ(CachedPictures(), 0);
    EXPECT_EQ(ShutDown(), QXTNG_SUCCESS);
    EXPECT_EQ(FilesIn(cache.Other()), files);
}

TEST(CacheLife, AFolderByAnotherNameIsNotEmptied) {
    const TemporaryFolder links;
    const UsedCache cache;
    fs::create_directory_symlink(cache.Folder(), links / "link");
    const Files files = FilesIn(cache.Folder());
    for (const std::u16string& name : {cache.Text() + u"/", cache.Text() + u"/.",
                                       std::u16string(u"/").append(cache.Text()), TextOf(links / "link")}) {
        EXPECT_EQ(SetCacheFolder(name.c_str()), QXTNG_SUCCESS);
        EXPECT_EQ(CacheFolder(), name);
        EXPECT_EQ(FilesIn(cache.Folder()), files);
        EXPECT_EQ(InitDB(), QXTNG_SUCCESS);
        EXPECT_EQ(CachedPictures(), kPictures);
    }
}

TEST(CacheLife, LeavesAFolderThatIsGone) {
    const UsedCache cache;
    const TemporaryFolder fresh;
    const fs::path deep = fresh / std::string(200, 'x') / std::string(200, 'y');
    const fs::path aside = fresh / "aside";
    fs::create_directories(deep);
    fs::rename(cache.Folder(), aside);
    EXPECT_EQ(SetCacheFolder(TextOf(deep).c_str()), QXTNG_SUCCESS);
    EXPECT_EQ(CacheFolder(), TextOf(deep)) << "of any length";
    EXPECT_EQ(fs::file_size(deep / "CacheUpdateInfo.txt"), 8u);
    EXPECT_EQ(CachedPictures(), 0);
    EXPECT_EQ(InitDB(), QXTNG_ERROR_NOT_CACHED);
    fs::rename(aside, cache.Folder());
    EXPECT_EQ(SetCacheFolder(cache.Text().c_str()), QXTNG_SUCCESS);
    EXPECT_EQ(InitDB(), QXTNG_SUCCESS);
    EXPECT_EQ(CachedPictures(), kPictures);
}

}  // namespace

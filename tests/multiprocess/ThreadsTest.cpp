// Threads of one process at the cache, while what they use changes under them. Much of this shows under the
// address and the thread sanitizer only.
#include <gtest/gtest.h>

#include <functional>
#include <thread>

#include "UsedCache.h"
#include "locks/Outsider.h"
#include "platform/FileOperations.h"
#include "platform/Memory.h"
#include "store/TNGCachePaths.h"

namespace {

using namespace CacheUse;
using TestSupport::Outsider;

constexpr char16_t kSource[] = u"ThreadsTest";
constexpr int kRounds = 100;

TEST(Threads, TheClientsHoldAndThoseOfReadersOutliveEachOther) {
    const UsedCache cache;
    const Outsider outsider(QXTNG_LOCK_PLAYER, cache.Text());
    EXPECT_TRUE(outsider.CanEnter());
    CTNGCacheEntry first(u"first", kSource);
    CTNGCacheEntry second(u"second", kSource);
    EXPECT_EQ(LockCache(), QXTNG_SUCCESS);
    first.Leave();
    EXPECT_FALSE(outsider.CanEnter()) << "the client took over what the readers had";
    CTNGCacheEntry underClient(u"third", kSource);
    EXPECT_FALSE(underClient.HasOwnHold());
    second.Leave();
    EXPECT_FALSE(outsider.CanEnter());
    EXPECT_EQ(ReleaseCacheLock(), QXTNG_SUCCESS);
    EXPECT_FALSE(outsider.CanEnter()) << "one is still inside";
    underClient.Leave();
    EXPECT_TRUE(outsider.CanEnter());
    {
        CTNGCacheEntry third(u"third", kSource);
        EXPECT_EQ(LockCache(), QXTNG_SUCCESS);
    }
    EXPECT_FALSE(outsider.CanEnter());
    EXPECT_EQ(ReleaseCacheLock(), QXTNG_SUCCESS);
    EXPECT_TRUE(outsider.CanEnter());
}

TEST(Threads, WhoWaitsForAnotherProcessComesInUnderTheClient) {
    const UsedCache cache;
    const Outsider outsider(QXTNG_LOCK_PLAYER, cache.Text());
    const auto pause = [] { std::this_thread::sleep_for(std::chrono::milliseconds(20)); };
    for (const bool bClientFirst : {true, false}) {
        EXPECT_TRUE(outsider.Enter());
        std::thread client([&] {
            if (!bClientFirst) pause();
            EXPECT_EQ(LockCache(), QXTNG_SUCCESS);
        });
        std::thread worker([&] {
            if (bClientFirst) pause();
            EXPECT_TRUE(CTNGCacheEntry(u"worker", kSource).IsIn());
        });
        pause();
        pause();
        EXPECT_TRUE(outsider.Leave());
        client.join();
        worker.join();
        EXPECT_FALSE(outsider.CanEnter());
        EXPECT_EQ(ReleaseCacheLock(), QXTNG_SUCCESS);
    }
}

using Work = std::function<void(int round)>;

void InCache(const std::function<void()>& work) {
    if (s_bAbandonThreads) CTNGCacheMutex::WaitForAbandonToFree(1000);
    const CTNGCacheEntry entry(u"ThreadsTest", kSource);
    ASSERT_TRUE(entry.IsIn());
    DBMgr().SynchronizeIfLoaded();
    if (DBMgr().IsCacheEnabled()) work();
}

void LookUp(int round) {
    const int number = round % kPictures;
    InCache([number] {
        const int found = Look(PathOf(number));
        EXPECT_TRUE(found == number || found < 0) << found << " instead of " << number;
    });
}

void Query(int round) {
    int bCached = 0;
    const std::uint32_t result = IsFileCached(PathOf(round % kPictures).c_str(), &bCached);
    EXPECT_TRUE(result == QXTNG_SUCCESS || result == QXTNG_ERROR_CACHE_DISABLED) << result;
}

void AddOrDelete(int round) {
    const int number = round / 2 % kPictures;
    InCache([&] {
        if (round % 2 == 0)
            Delete(PathOf(number));
        else
            Add(PathOf(number), number);
    });
}

void DeleteFolderAndAdd(int round) {
    InCache([round] {
        DeleteFolder(round % 2 ? u"/t/a" : u"/t/b");
        Add(PathOf(round % kPictures), round % kPictures);
    });
}

void LoadIndexAnew(int) {
    InCache([] { SharedData().LoadDB(nullptr, true, true, false); });
}

// As the update of a folder does, none of whose files are there any more.
void DropVanishedFiles(int round) {
    InCache([round] {
        CTNGSharedDataMgr& data = SharedData();
        std::vector<TNGFoundRecord> changed;
        bool bRemoved = false;
        {
            const CTNGAutoMutexPtr shared(data.GetSharedMutex(), true, TNG_LOCK_TIMEOUT_MS, true);
            data.GetModifiedFiles(round % 2 ? u"/t/a" : u"/t/b", &changed, &bRemoved);
        }
        data.SaveFolderMap(round % 2 ? u"/t/a" : u"/t/b", false);
        Add(PathOf(round % kPictures), round % kPictures);
    });
}

void ReadCacheFolder(int) {
    char16_t* pszFolder = nullptr;
    ASSERT_EQ(GetCacheFolder(&pszFolder), QXTNG_SUCCESS);
    EXPECT_EQ(*pszFolder, u'/');
    HeapFree(GetProcessHeap(), 0, pszFolder);
}

void LockAndRelease(int) {
    EXPECT_EQ(LockCache(), QXTNG_SUCCESS);
    EXPECT_EQ(ReleaseCacheLock(), QXTNG_SUCCESS);
}

// As somebody does who cleans up by hand.
void DeleteIndexFile(int) {
    for (const char16_t* pszName : {s_strDirectoryMapName, s_strDateTimeFileName})
        Platform::DeleteFileW(CachePath(pszName).c_str());
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

void DisableAndEnable(int round) {
    EXPECT_EQ(SetCacheEnabled(round % 2), QXTNG_SUCCESS);
}

// The last one runs its rounds, the others as long as it does.
void RunTogether(const std::vector<Work>& works, int rounds) {
    std::atomic<bool> bStop{false};
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i + 1 < works.size(); ++i) {
        threads.emplace_back([&, i] {
            for (int round = 0; !bStop; ++round)
                works[i](round);
        });
    }
    for (int round = 0; round < rounds; ++round)
        works.back()(round);
    bStop = true;
    for (std::thread& thread : threads)
        thread.join();
}

TEST(Threads, WorkOnWhatChangesUnderThem) {
    UsedCache* pCache = nullptr;
    const Work move = [&pCache](int round) {
        const std::u16string folder = round % 2 ? pCache->Text() : pCache->OtherText();
        EXPECT_EQ(SetCacheFolder(folder.c_str()), QXTNG_SUCCESS);
    };
    const struct {
        const char* pszWhat;
        int rounds;
        std::vector<Work> works;
    } cases[] = {
        {"records and their folders vanish",
         kRounds,
         {LookUp, Query, AddOrDelete, LoadIndexAnew, DeleteFolderAndAdd}},
        {"the path index changes", kRounds, {Query, Query, AddOrDelete, DropVanishedFiles}},
        {"lists are loaded", kRounds, {Query, Query, LookUp, LoadIndexAnew}},
        {"the cache is deleted from outside", kRounds, {LookUp, AddOrDelete, AddOrDelete, DeleteIndexFile}},
        {"the client comes and goes", kRounds, {LookUp, AddOrDelete, LockAndRelease}},
        {"the cache is deleted", 10, {LookUp, AddOrDelete, Query, DisableAndEnable}},
        {"the folder changes", 6, {LookUp, LookUp, AddOrDelete, Query, ReadCacheFolder, move}},
        {"the client's folder changes", 6, {LookUp, LockAndRelease, ReadCacheFolder, move}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.pszWhat);
        UsedCache cache;
        pCache = &cache;
        RunTogether(c.works, c.rounds);
        InCache([] { EXPECT_TRUE(Add(PathOf(0), 0) && Flush()); });
        for (const std::u16string& folder : {cache.Text(), cache.OtherText()})
            EXPECT_TRUE(Outsider(QXTNG_LOCK_PLAYER, folder).CanEnter());
    }
}

}  // namespace

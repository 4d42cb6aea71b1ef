// What a process holds of a cache in memory, and what reaches the files of it.
#include "shared/TNGSharedDataMgr.h"

#include <gtest/gtest.h>

#include <functional>

#include "database/TNGDBMgr.h"
#include "platform/Text.h"
#include "shared/FinishAddition.h"
#include "store/TNGDateTimeFile.h"
#include "support/ResourceLimit.h"

namespace {

using namespace StoreTest;

constexpr std::int32_t kLarge = 50;

// The last unit of a path says what its thumbnail shows.
int TagOf(const std::u16string& path) {
    return path.back() - u'0';
}

std::u16string PathOf(const std::u16string& folder, int number) {
    return folder + u'/' + static_cast<char16_t>(u'0' + number);
}

// A process at a cache.
class Process {
  public:
    Process() {
        s_nPendingAdds = 0;
        PrepareDateTimeFile();
        MoveDateTimeFile(s_strCacheFolder.Get());
    }

    std::unique_ptr<CTNGAddition> Begin(const std::u16string& path) {
        auto pAddition = std::make_unique<CTNGAddition>(data, m_eState, path);
        return pAddition->HasLock() && pAddition->Begin() ? std::move(pAddition) : nullptr;
    }

    static bool Finish(CTNGAddition& addition) {
        return FinishAddition(addition, Thumbnail(kLarge, TagOf(addition.Record().m_strFilePath)));
    }

    bool Add(const std::u16string& path) {
        const auto pAddition = Begin(path);
        return pAddition && Finish(*pAddition);
    }

    CTNGSharedDataMgr data{kIndexName};

  private:
    std::atomic<TNGDBState> m_eState{TNG_DB_NOT_LOADED};
};

// The live records on disk, each of which has to show its own thumbnail.
std::set<std::u16string> OnDisk() {
    CTNGFolderMapCollection fresh;
    fresh.Load(kIndexName, nullptr, false, false, nullptr);
    std::set<std::u16string> paths;
    fresh.ForEach([&paths](const CTNGFolderMap& folder) {
        for (int i = 0; i < folder.FileDataList->GetCount(); ++i) {
            const CTNGFileData& record = *folder.FileDataList->GetAt(i);
            if (record.m_bDeleted != 0) continue;
            EXPECT_TRUE(record.m_strFilePath.starts_with(folder.m_strFolderPath + u'/'));
            EXPECT_EQ(ReadThumbnail(folder, record, 160), Thumbnail(kLarge, TagOf(record.m_strFilePath)));
            paths.insert(record.m_strFilePath);
        }
    });
    return paths;
}

std::set<std::u16string> Pictures(const std::u16string& folder, int nFirst, int nEnd) {
    std::set<std::u16string> paths;
    for (int number = nFirst; number < nEnd; ++number)
        paths.insert(PathOf(folder, number));
    return paths;
}

// While one addition is at work on its thumbnail, others end, and fill a batch.
TEST(SharedData, AnAdditionThatTakesLongKeepsNobodyBack) {
    const struct {
        const char* pszWhat;
        int nSlow;  // the picture that takes long
        int nBefore;
        bool bInTime;
    } cases[] = {{"ends in time", 1, 1, true},
                 {"ends too late", 1, 1, false},
                 {"is made again, so that the list has to be written anew", 0, 3, true}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.pszWhat);
        const Cache cache;
        Process process;
        std::set<std::u16string> expected = Pictures(u"/p", 0, 13);
        expected.erase(PathOf(u"/p", 2));  // is not added, or loses its block
        for (int number = 0; number < c.nBefore; ++number)
            ASSERT_TRUE(process.Add(PathOf(u"/p", number)));
        if (c.nSlow < c.nBefore) {
            ASSERT_EQ(process.data.Shutdown(), QXTNG_SUCCESS);
            s_nPendingAdds = 0;
            std::filesystem::resize_file(cache / "1.db", 2 * (kLarge + kSmall + sizeof(TNGBlockTrailer)));
        }
        const std::u16string slow = PathOf(u"/p", c.nSlow);
        const auto pSlow = process.Begin(slow);
        ASSERT_TRUE(pSlow);
        for (int number = 3; number < 13; ++number)
            EXPECT_TRUE(process.Add(PathOf(u"/p", number)));
        expected.erase(slow);
        EXPECT_EQ(OnDisk(), expected) << "a full batch";
        if (c.bInTime) {
            EXPECT_TRUE(Process::Finish(*pSlow));
            expected.insert(slow);
        }
        EXPECT_EQ(process.data.Shutdown(), QXTNG_SUCCESS);
        EXPECT_EQ(OnDisk(), expected);
    }
}

// Too few descriptors say nothing about the files: nothing may be deleted, nor written over.
TEST(SharedData, FilesThatCannotBeOpenedAreNotLost) {
    const auto load = [](Process& process, const char16_t* pszPath, bool bIndexOnly) {
        process.data.LoadDB(pszPath, true, bIndexOnly, false);
    };
    const struct {
        const char* pszWhat;
        std::function<void(Process&)> prepare, run;
    } cases[] = {
        {"all is loaded", [](Process&) {}, [&](Process& process) { load(process, nullptr, false); }},
        {"a folder is loaded", [](Process&) {}, [&](Process& process) { load(process, u"/a/0", false); }},
        {"a folder is loaded when it is asked for", [&](Process& process) { load(process, nullptr, true); },
         [](Process& process) { process.data.LoadFolderData(u"/a", false); }},
        {"something is added", [](Process&) {}, [](Process&) {}},
        {"something is added to a known folder", [&](Process& process) { load(process, nullptr, true); },
         [](Process&) {}},
        {"a data file is compacted",
         [&](Process& process) {
             load(process, nullptr, false);
             EXPECT_EQ(process.data.MarkFolderModified(u"/a"), QXTNG_SUCCESS);
         },
         [](Process& process) { process.data.Shutdown(); }},
        {"a changed index is looked at",
         [&](Process& process) {
             ASSERT_TRUE(process.Add(u"/c/0"));
             load(process, nullptr, true);
             Process other;
             ASSERT_TRUE(other.Add(u"/d/0"));
         },
         [](Process& process) {
             s_ftCacheModified = Platform::FILETIME{};
             s_ftDirectoryMap = Platform::FILETIME{1, 1};
             bool bModified = false;
             process.data.SynchronizeCache(&bModified);
         }},
    };
    for (const auto& c : cases) {
        for (unsigned nLeft = 0; nLeft < 6; ++nLeft) {
            SCOPED_TRACE(testing::Message() << c.pszWhat << ", " << nLeft << " descriptors left");
            const Cache cache;
            Process process;
            for (int number = 0; number < 3; ++number)
                ASSERT_TRUE(process.Add(PathOf(u"/a", number)) && process.Add(PathOf(u"/b", number)));
            ASSERT_EQ(process.data.Shutdown(), QXTNG_SUCCESS);
            c.prepare(process);
            std::set<std::u16string> expected = OnDisk();
            std::unique_ptr<CTNGAddition> pBegun;
            {
                const TestSupport::DescriptorLimit limit(nLeft);
                c.run(process);
                pBegun = process.Begin(u"/f/0");
                for (const char16_t* pszPath : {u"/a/3", u"/e/0"}) {
                    if (process.Add(pszPath)) expected.insert(pszPath);
                }
            }
            if (pBegun && Process::Finish(*pBegun)) expected.insert(u"/f/0");
            for (const char16_t* pszPath : {u"/a/4", u"/b/4"}) {
                EXPECT_TRUE(process.Add(pszPath));
                expected.insert(pszPath);
            }
            EXPECT_EQ(process.data.Shutdown(), QXTNG_SUCCESS);
            const std::set<std::u16string> left = OnDisk();
            for (const std::u16string& path : expected)
                EXPECT_TRUE(left.contains(path)) << Platform::PathToBytes(path);
        }
    }
}

TEST(SharedData, AFolderWhoseNumberAnotherOneGotIsBegunAnew) {
    const Cache cache;
    Process process;
    const auto pUnsaved = process.Begin(u"/p/0");  // number 1
    ASSERT_TRUE(pUnsaved);
    Process other;
    ASSERT_TRUE(other.Add(u"/q/0"));
    ASSERT_TRUE(cache.Has("1.dat"));
    s_ftCacheModified = s_ftDirectoryMap = Platform::FILETIME{};
    bool bModified = false;
    EXPECT_EQ(process.data.SynchronizeCache(&bModified), QXTNG_SUCCESS);
    EXPECT_TRUE(bModified);
    EXPECT_FALSE(Process::Finish(*pUnsaved));
    EXPECT_TRUE(process.Add(u"/p/1"));
    EXPECT_EQ(process.data.Shutdown(), QXTNG_SUCCESS);
    EXPECT_EQ(OnDisk(), (std::set<std::u16string>{u"/p/1", u"/q/0"}));
}

TEST(SharedData, WhatAnEarlierFolderLeftIsDeadSpace) {
    const Cache cache;
    cache.Write("1.db", Bytes(1000, 'x'));
    Process process;
    ASSERT_TRUE(process.Add(u"/p/0"));
    EXPECT_EQ(process.data.Shutdown(), QXTNG_SUCCESS);
    EXPECT_EQ(cache.Read("1.db").size(), kLarge + kSmall + sizeof(TNGBlockTrailer));
    EXPECT_EQ(OnDisk(), std::set<std::u16string>{u"/p/0"});
}

TEST(DateTimeFile, AnyOtherTimeIsAChange) {
    const Cache cache;
    const Process process;
    SetCacheModifiedTime();
    EXPECT_TRUE(IsCacheSynchronized());
    const Bytes now = cache.Read("CacheUpdateInfo.txt");
    for (const Bytes& damaged : {Bytes(8, 0xFF), Bytes(8, 0x00), Bytes(8, 0xFE), Bytes(7, 0x01)}) {
        cache.Write("CacheUpdateInfo.txt", damaged);
        EXPECT_FALSE(IsCacheSynchronized());
        s_ftCacheModified = Platform::FILETIME{0xFFFFFFFF, 0xFFFFFFFF};
        EXPECT_FALSE(IsCacheSynchronized()) << "whatever this process has written last";
    }
    cache.Write("CacheUpdateInfo.txt", Bytes(8, 0xFF));
    SetCacheModifiedTime();
    EXPECT_TRUE(IsCacheSynchronized());
    EXPECT_EQ(cache.Read("CacheUpdateInfo.txt")[7], now[7]) << "the present time again";
}

}  // namespace

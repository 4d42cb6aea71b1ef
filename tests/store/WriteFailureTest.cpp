// Operations of the store for whose writes there is no room: on a disk that is full, or up to a size that no
// file may have, both in many places.
#include <gtest/gtest.h>

#include <functional>

#include "common/TNGTypes.h"
#include "store/StoreFixture.h"
#include "store/TNGCacheFiles.h"
#include "support/ResourceLimit.h"
#include "support/SmallDisk.h"

namespace {

using namespace StoreTest;

constexpr int kPictures = 30;

std::u16string PathOf(int i) {
    return u"/a/" + std::u16string(20, u'n') + static_cast<char16_t>(u'0' + i);
}

// A saved cache of one folder, in memory and on disk.
struct SavedCache {
    SavedCache() {
        auto pNew = NewFolder(u"/a", 1);
        pFolder = pNew.get();
        for (int i = 0; i < kPictures; ++i)
            AddPicture(*pFolder, PathOf(i), i, 300);
        pFolder->m_bListDirty = true;
        maps.SetIndexFileName(kIndexName);
        maps.AddItemByKey(pNew.release(), u"/a");
        EXPECT_EQ(maps.SaveFolderMaps(kIndexName, true), QXTNG_SUCCESS);
        pFolder->FileDataList->LoadList(u"1.dat", nullptr);
    }

    void AddFolders() {
        for (int i = 2; i < 150; ++i)
            maps.AddItemByKey(NewFolder(PathOf(i), i).release(), PathOf(i));
    }

    CTNGFolderMapCollection maps;
    CTNGFolderMap* pFolder;
};

// What the files hold, read by somebody new. Every thumbnail must be its own.
int PicturesOnDisk() {
    CTNGFolderMapCollection fresh;
    EXPECT_EQ(fresh.Load(kIndexName, nullptr, false, true, nullptr), QXTNG_SUCCESS);
    CTNGFolderMap* pFolder = fresh.FindItem(u"/a");
    if (!pFolder) return -1;
    EXPECT_EQ(fresh.LoadIndexFile(u"/a", false, &pFolder, nullptr), QXTNG_SUCCESS);
    int nWrong = 0;
    for (int i = 0; i < pFolder->FileDataList->GetCount(); ++i) {
        const CTNGFileData& record = *pFolder->FileDataList->GetAt(i);
        const int tag = record.m_strFilePath.back() - u'0';
        nWrong += tag < kPictures && ReadThumbnail(*pFolder, record, 160) != Thumbnail(300, tag);
    }
    EXPECT_EQ(nWrong, 0) << "thumbnails that are not their records' own";
    return pFolder->FileDataList->GetCount();
}

struct Operation {
    const char* pszWhat;
    std::uint32_t failure;
    int nPictures;  // on disk when it has gone well
    std::function<void(SavedCache&)> prepare;
    std::function<std::uint32_t(SavedCache&)> run;
};

std::uint32_t Save(SavedCache& saved, bool bCompact) {
    return saved.pFolder->FileDataList->SaveList(bCompact, u"1.db", true);
}

void RemoveOne(SavedCache& saved) {
    saved.pFolder->FileDataList->RemoveRecord(PathOf(3));
}

void AddRecords(SavedCache& saved) {
    for (int i = 0; i < kPictures; ++i) {
        auto pRecord = std::make_unique<CTNGFileData>(*saved.pFolder->FileDataList->GetAt(0));
        pRecord->m_strFilePath = PathOf(kPictures + i);
        saved.pFolder->FileDataList->AddItem(std::move(pRecord));
    }
}

const Operation kOperations[] = {
    {"a block is appended", QXTNG_ERROR_FAILED, kPictures, [](SavedCache&) {},
     [](SavedCache& saved) -> std::uint32_t {
         const Bytes bytes = Thumbnail(9000, 1);
         return CTNGDataFile().AppendBlock(s_strCacheFolder.Get() + u"/1.db", saved.pFolder->m_nDataFileKey,
                                           {}, {}, {bytes.data(), 9000}, {bytes.data(), 9000}) < 0
                    ? QXTNG_ERROR_FAILED
                    : QXTNG_SUCCESS;
     }},
    {"records are appended", QXTNG_ERROR_FILE_WRITE, 2 * kPictures, AddRecords,
     [](SavedCache& saved) { return saved.pFolder->FileDataList->AppendNewRecords(); }},
    {"records are appended, and once more", QXTNG_ERROR_FILE_WRITE, 2 * kPictures, AddRecords,
     [](SavedCache& saved) {
         const std::uint32_t result = saved.pFolder->FileDataList->AppendNewRecords();
         return result == QXTNG_SUCCESS ? result : saved.pFolder->FileDataList->AppendNewRecords();
     }},
    {"a list is rewritten", QXTNG_ERROR_FILE_WRITE, kPictures - 1, RemoveOne,
     [](SavedCache& saved) { return Save(saved, false); }},
    {"a data file is compacted", QXTNG_ERROR_FAILED, kPictures - 1, RemoveOne,
     [](SavedCache& saved) {
         const std::uint32_t result = Save(saved, true);
         return result == QXTNG_ERROR_FILE_WRITE ? QXTNG_ERROR_FAILED : result;  // whichever is first
     }},
    {"the index is saved", QXTNG_ERROR_FILE_WRITE, kPictures, [](SavedCache& saved) { saved.AddFolders(); },
     [](SavedCache& saved) { return saved.maps.SaveFolderMaps(kIndexName, false); }},
    {"the index is appended to", QXTNG_ERROR_FILE_WRITE, kPictures,
     [](SavedCache& saved) { saved.AddFolders(); },
     [](SavedCache& saved) { return saved.maps.AppendThumbnails(kIndexName); }},
    {"a file is copied", QXTNG_ERROR_FAILED, kPictures, [](SavedCache&) {},
     [](SavedCache&) -> std::uint32_t {
         const std::u16string folder = s_strCacheFolder.Get();
         return CopyCacheFileNoLock(folder + u"/1.db", folder + u"/copy", true) ? QXTNG_SUCCESS
                                                                                : QXTNG_ERROR_FAILED;
     }},
};

// Runs an operation in a new cache where there is room for so many bytes. Whether it went well.
bool RunWith(const Operation& operation, std::size_t nRoom, bool bFullDisk) {
    const Cache cache;
    std::unique_ptr<TestSupport::SmallDisk> pDisk;
    if (bFullDisk) pDisk = std::make_unique<TestSupport::SmallDisk>(cache / "");
    if (pDisk && !pDisk->IsMounted()) return true;
    SavedCache saved;
    operation.prepare(saved);
    const std::set<std::string> names = cache.Names();
    std::uint32_t result = 0;
    {
        const std::shared_ptr<void> pBallast = pDisk ? pDisk->Fill(nRoom) : nullptr;
        const TestSupport::FileSizeLimit limit(pDisk ? SIZE_MAX : nRoom);
        result = operation.run(saved);
    }
    const bool bGood = result == QXTNG_SUCCESS;
    EXPECT_TRUE(bGood || result == operation.failure) << result;
    EXPECT_EQ(PicturesOnDisk(), bGood ? operation.nPictures : kPictures);
    if (bGood) return true;
    EXPECT_EQ(cache.Names(), names) << "no temporary file, no part of one";
    const CTNGFileData& live = *saved.pFolder->FileDataList->GetAt(9);
    const int tag = live.m_strFilePath.back() - u'0';
    EXPECT_EQ(ReadThumbnail(*saved.pFolder, live, 160), Thumbnail(300, tag));
    EXPECT_EQ(operation.run(saved), QXTNG_SUCCESS) << "with room again";
    EXPECT_EQ(PicturesOnDisk(), operation.nPictures);
    return false;
}

TEST(WriteFailure, LeavesWhatWasThere) {
    for (const Operation& operation : kOperations) {
        for (const bool bFullDisk : {false, true}) {
            int nFailures = 0;
            for (std::size_t nRoom = 0;; nRoom = nRoom * 5 / 4 + 500) {
                SCOPED_TRACE(std::string(operation.pszWhat) + (bFullDisk ? ", full disk, " : ", limit, ") +
                             std::to_string(nRoom) + " bytes of room");
                if (RunWith(operation, nRoom, bFullDisk) || ::testing::Test::HasFatalFailure()) break;
                ++nFailures;
            }
            EXPECT_TRUE(bFullDisk || nFailures > 1) << operation.pszWhat << " never failed";
        }
    }
}

TEST(WriteFailure, LeavesNoHalfOfAListThatWasNotThere) {
    const Cache cache;
    const SavedCache saved;
    std::filesystem::remove(cache / "1.dat");
    const std::set<std::string> names = cache.Names();
    {
        const TestSupport::FileSizeLimit limit(1000);
        EXPECT_EQ(saved.pFolder->FileDataList->SaveList(false, u"1.db", true), QXTNG_ERROR_FILE_WRITE);
    }
    EXPECT_EQ(cache.Names(), names);
    EXPECT_EQ(saved.pFolder->FileDataList->SaveList(false, u"1.db", true), QXTNG_SUCCESS);
    EXPECT_EQ(PicturesOnDisk(), kPictures);
}

TEST(WriteFailure, OfTheDateTimeIsReported) {
    const Cache cache;
    const Platform::FILETIME time{1, 2};
    const TestSupport::FileSizeLimit limit(4);
    EXPECT_EQ(CTNGDataFile().WriteDateTime(cache.Text("time"), &time), QXTNG_ERROR_FILE_WRITE);
}

}  // namespace

// The list of a folder's records, with its list file.
#include <gtest/gtest.h>

#include "common/TNGTypes.h"
#include "locks/TNGAutoMutexPtr.h"
#include "store/StoreFixture.h"

namespace {

using namespace StoreTest;

std::unique_ptr<CTNGFileData> Record(const std::u16string& path, bool bDeleted = false) {
    auto pRecord = std::make_unique<CTNGFileData>();
    pRecord->m_strFilePath = path;
    pRecord->m_bDeleted = bDeleted ? 1 : 0;
    return pRecord;
}

TEST(List, ALoadThatFailsLeavesNothingInTheIndex) {
    const Cache cache;
    const auto pFolder = NewFolder(u"/p", 1);
    CTNGFileDataCollection& list = *pFolder->FileDataList;
    list.AddItem(Record(u"/p/a"));
    list.AddItem(Record(u"/p/b"));
    ASSERT_EQ(list.AppendNewRecords(), QXTNG_SUCCESS);
    Bytes bytes = cache.Read("1.dat");
    const Bytes huge = {2, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0x7F};
    CTNGFileData foreign;
    TNGPathIndex index{{u"/q/foreign", &foreign}};
    EXPECT_EQ(list.LoadList(u"1.dat", &index), QXTNG_SUCCESS);
    EXPECT_EQ(index.size(), 3u);
    bytes[0] = 3;
    cache.Write("1.dat", bytes);
    EXPECT_EQ(list.LoadList(u"1.dat", &index), QXTNG_ERROR_FILE_READ) << "it ends too soon";
    EXPECT_EQ(index.size(), 1u);
    cache.Write("1.dat", FileBytes().Append(bytes).Append(huge));
    EXPECT_EQ(list.LoadList(u"1.dat", &index), QXTNG_ERROR_FAILED) << "no memory for the third";
    EXPECT_EQ(index.size(), 1u);
    EXPECT_EQ(list.GetCount(), 0);
    EXPECT_EQ(list.LoadList(u"none.dat", nullptr), QXTNG_ERROR_FILE_READ);
    EXPECT_EQ(list.LoadList(u"", nullptr), QXTNG_ERROR_LOCK_FAILED);
}

TEST(List, FindsAndRemovesInOrder) {
    const Cache cache;
    const auto pFolder = NewFolder(u"/p", 1);
    CTNGFileDataCollection& list = *pFolder->FileDataList;
    for (const char16_t* pszPath : {u"a", u"b", u"a", u"c", u"a"})
        list.AddItem(Record(pszPath, true));
    CTNGFileData* pFound = nullptr;
    for (const int expected : {0, 1, 2}) {  // b and c stay, so the next twin moves up
        EXPECT_EQ(list.FindRecord(u"a", &pFound), 1) << "marked or not";
        EXPECT_EQ(pFound, list.GetAt(expected));
        EXPECT_EQ(list.RemoveRecord(u"a"), 1);
    }
    EXPECT_EQ(list.FindRecord(u"a", &pFound), 0);
    EXPECT_EQ(list.RemoveRecord(u"a"), 0);
    EXPECT_EQ(Paths(list), (std::vector<std::u16string>{u"b", u"c"}));
    EXPECT_EQ(list.GetAt(-1), nullptr);
    EXPECT_EQ(list.GetAt(2), nullptr);
}

TEST(List, AppendsOnlyWhatIsNew) {
    const Cache cache;
    const auto pFolder = NewFolder(u"/p", 1);
    CTNGFileDataCollection& list = *pFolder->FileDataList;
    EXPECT_EQ(list.AppendNewRecords(), QXTNG_ERROR_FILE_WRITE) << "there is nothing";
    EXPECT_FALSE(cache.Has("1.dat"));
    list.AddItem(Record(u"/p/a"));
    list.AddItem(Record(u"/p/b", true));
    EXPECT_EQ(list.AppendNewRecords(), QXTNG_SUCCESS);
    EXPECT_EQ(list.AppendNewRecords(), QXTNG_ERROR_FILE_WRITE) << "there is nothing more";
    const Bytes first = cache.Read("1.dat");
    EXPECT_EQ(first[0], 2);

    // Another process loads, appends, and dies in the middle of its next append.
    const auto pOther = NewFolder(u"/p", 1);
    CTNGFileDataCollection& other = *pOther->FileDataList;
    ASSERT_EQ(other.LoadList(u"1.dat", nullptr), QXTNG_SUCCESS);
    other.AddItem(Record(u"/p/c"));
    EXPECT_EQ(other.AppendNewRecords(), QXTNG_SUCCESS);
    const Bytes second = cache.Read("1.dat");
    EXPECT_EQ(second[0], 3);
    EXPECT_TRUE(std::equal(first.begin() + 4, first.end(), second.begin() + 4)) << "nothing was rewritten";
    cache.Write("1.dat", FileBytes().Append(second).Append(Bytes(77, 'x')));

    ASSERT_EQ(list.LoadList(u"1.dat", nullptr), QXTNG_SUCCESS);
    list.AddItem(Record(u"/p/d"));
    EXPECT_EQ(list.AppendNewRecords(), QXTNG_SUCCESS);
    const auto pFresh = NewFolder(u"/p", 1);
    ASSERT_EQ(pFresh->FileDataList->LoadList(u"1.dat", nullptr), QXTNG_SUCCESS);
    EXPECT_EQ(Paths(*pFresh->FileDataList),
              (std::vector<std::u16string>{u"/p/a", u"/p/b", u"/p/c", u"/p/d"}));

    std::filesystem::remove(cache / "1.dat");
    list.AddItem(Record(u"/p/e"));
    EXPECT_EQ(list.AppendNewRecords(), QXTNG_ERROR_FILE_WRITE) << "there is no file to append to";
    EXPECT_FALSE(cache.Has("1.dat"));
    {
        const TNGFileLock pLock = list.GetListLock();
        const CTNGAutoMutexPtr hold(pLock.get(), false, 0, true);
        EXPECT_EQ(list.AppendNewRecords(), QXTNG_ERROR_LOCK_FAILED);
        EXPECT_EQ(list.LoadList(u"1.dat", nullptr), QXTNG_ERROR_LOCK_FAILED);
        EXPECT_EQ(list.GetCount(), 5) << "nothing has changed";
    }
}

TEST(List, ResetsWithOrWithoutItsFile) {
    const Cache cache;
    const auto pFolder = NewFolder(u"/p", 1);
    CTNGFileDataCollection& list = *pFolder->FileDataList;
    list.AddItem(Record(u"/p/a"));
    ASSERT_EQ(list.AppendNewRecords(), QXTNG_SUCCESS);
    list.ResetList(false);
    EXPECT_EQ(list.GetCount(), 0);
    EXPECT_TRUE(cache.Has("1.dat"));
    list.AddItem(Record(u"/p/b"));
    ASSERT_EQ(list.AppendNewRecords(), QXTNG_SUCCESS) << "the file is written anew";
    ASSERT_EQ(list.LoadList(u"1.dat", nullptr), QXTNG_SUCCESS);
    EXPECT_EQ(Paths(list), std::vector<std::u16string>{u"/p/b"});
    const TNGFileLock pLock = list.GetListLock();
    list.ResetList(true);
    EXPECT_FALSE(cache.Has("1.dat"));
    EXPECT_NE(list.GetListLock(), pLock) << "the lock of a file that is gone goes, too";
}

}  // namespace

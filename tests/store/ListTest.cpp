// The list of a folder's records, with its list file.
#include <gtest/gtest.h>

#include "common/TNGTypes.h"
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

}  // namespace

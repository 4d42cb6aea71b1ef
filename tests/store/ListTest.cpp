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

// A record as it stands in a list file.
Bytes Stored(const std::u16string& path, bool bDeleted = false, std::uint32_t version = 2) {
    FileBytes bytes;
    bytes.Number(version).Text(path).Number(1).Text(u"1.db").Append(Bytes(28));
    bytes.Add<std::uint8_t>(bDeleted).Append(Bytes(15));
    if (version == 2) bytes.Append(Bytes(8));
    return bytes;
}

Bytes File(std::uint32_t count, const std::vector<Bytes>& records) {
    FileBytes bytes;
    bytes.Number(count);
    for (const Bytes& record : records)
        bytes.Append(record);
    return bytes;
}

Bytes Cut(Bytes bytes, std::size_t nFromEnd) {
    bytes.resize(bytes.size() - nFromEnd);
    return bytes;
}

TEST(List, LoadsWhatStandsInTheFile) {
    const Cache cache;
    const Bytes a = Stored(u"/p/a"), b = Stored(u"/p/b"), old = Stored(u"/p/old", false, 1);
    const Bytes marked = Stored(u"/p/m", true), wrong = Stored(u"/p/x", false, 3);
    const Bytes negative = FileBytes().Number(2).Number(~0u).Append(b);
    const Bytes huge = FileBytes().Number(2).Number(0x7FFFFFFF).Append(b);
    using Texts = std::vector<std::u16string>;
    const struct {
        const char* pszWhat;
        Bytes file;
        std::uint32_t result;
        Texts paths, indexed;
    } cases[] = {
        {"two", File(2, {a, b}), QXTNG_SUCCESS, {u"/p/a", u"/p/b"}, {u"/p/a", u"/p/b"}},
        {"of both versions", File(2, {old, b}), QXTNG_SUCCESS, {u"/p/old", u"/p/b"}, {u"/p/b", u"/p/old"}},
        {"a marked one", File(2, {marked, a}), QXTNG_SUCCESS, {u"/p/m", u"/p/a"}, {u"/p/a"}},
        {"twins", File(3, {a, b, a}), QXTNG_SUCCESS, {u"/p/a", u"/p/b", u"/p/a"}, {u"/p/a", u"/p/b"}},
        {"fewer than there are", File(1, {a, b}), QXTNG_SUCCESS, {u"/p/a"}, {u"/p/a"}},
        {"none", File(0, {a}), QXTNG_SUCCESS, {}, {}},
        {"a negative count", File(~0u, {a}), QXTNG_SUCCESS, {}, {}},
        {"half a count", {1, 0}, QXTNG_SUCCESS, {}, {}},
        {"nothing", {}, QXTNG_SUCCESS, {}, {}},
        {"cut inside a record", Cut(File(9, {a, b}), 30), QXTNG_SUCCESS, {u"/p/a", u"/p/b"}, {u"/p/a"}},
        {"more than there are", File(3, {a, b}), QXTNG_ERROR_FILE_READ, {}, {}},
        {"an unknown version", File(2, {a, wrong}), QXTNG_ERROR_FILE_READ, {}, {}},
        {"a negative length", File(2, {a, negative}), QXTNG_ERROR_FILE_READ, {}, {}},
        {"a huge length", File(2, {a, huge}), QXTNG_ERROR_FAILED, {}, {}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.pszWhat);
        cache.Write("1.dat", c.file);
        const auto pFolder = NewFolder(u"/p", 1);
        CTNGFileDataCollection& list = *pFolder->FileDataList;
        list.AddItem(Record(u"/p/before"));
        CTNGFileData foreign;
        TNGPathIndex index{{u"/q/foreign", &foreign}};
        EXPECT_EQ(list.LoadList(u"1.dat", &index), c.result);
        EXPECT_EQ(Paths(list), c.paths);
        EXPECT_EQ(index.erase(u"/q/foreign"), 1u);
        EXPECT_EQ(index.size(), c.indexed.size());
        for (const std::u16string& path : c.indexed)
            EXPECT_TRUE(index.contains(path) && index[path]->m_strFilePath == path);
        for (int i = 0; i < list.GetCount(); ++i)
            EXPECT_EQ(list.GetAt(i)->m_pFolderMap, pFolder.get());
    }
    const auto pFolder = NewFolder(u"/p", 1);
    EXPECT_EQ(pFolder->FileDataList->LoadList(u"none.dat", nullptr), QXTNG_ERROR_FILE_READ);
    EXPECT_EQ(pFolder->FileDataList->LoadList(u"", nullptr), QXTNG_ERROR_LOCK_FAILED);
}

TEST(List, IndexHasTheLaterOfTwins) {
    const Cache cache;
    cache.Write("1.dat", File(3, {Stored(u"/p/a"), Stored(u"/p/b"), Stored(u"/p/a")}));
    const auto pFolder = NewFolder(u"/p", 1);
    CTNGFileDataCollection& list = *pFolder->FileDataList;
    TNGPathIndex index;
    ASSERT_EQ(list.LoadList(u"1.dat", &index), QXTNG_SUCCESS);
    CTNGFileData* pFound = nullptr;
    EXPECT_EQ(list.FindRecord(u"/p/a", &pFound), 1);
    EXPECT_EQ(pFound, list.GetAt(0));
    EXPECT_EQ(index[u"/p/a"], list.GetAt(2));
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

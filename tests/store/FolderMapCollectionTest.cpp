#include "store/TNGFolderMapCollection.h"

#include <gtest/gtest.h>

#include "common/TNGTypes.h"
#include "locks/TNGAutoMutexPtr.h"
#include "store/StoreFixture.h"
#include "support/LogCapture.h"

namespace {

using namespace StoreTest;

using Names = std::set<std::string>;

// An index record of a folder with the usual names.
Bytes Head(const std::u16string& path, int number) {
    const auto pFolder = NewFolder(path, number);
    return FileBytes()
        .Number(1)
        .Text(path)
        .Text(pFolder->m_strDataFileName)
        .Text(pFolder->m_strListFileName)
        .Number(static_cast<std::uint32_t>(number));
}

Bytes Index(std::uint32_t count, const std::vector<Bytes>& records) {
    FileBytes bytes;
    bytes.Number(count);
    for (const Bytes& record : records)
        bytes.Append(record);
    return bytes;
}

std::set<std::u16string> Folders(const CTNGFolderMapCollection& maps,
                                 const std::vector<std::u16string>& asked) {
    std::set<std::u16string> found;
    for (const std::u16string& path : asked) {
        if (maps.LookupFolderMap(path, nullptr)) found.insert(path);
    }
    return found;
}

// Puts a folder with some pictures into a collection.
CTNGFolderMap* AddFolder(CTNGFolderMapCollection& maps, const std::u16string& path, int number,
                         int nPictures = 1) {
    auto pFolder = NewFolder(path, number);
    for (int i = 0; i < nPictures; ++i)
        AddPicture(*pFolder, path + u"/" + std::u16string(1, static_cast<char16_t>(u'a' + i)), i);
    pFolder->m_bListDirty = true;
    CTNGFolderMap* pAdded = pFolder.get();
    maps.AddItemByKey(pFolder.release(), path);
    return pAdded;
}

// A cache of the folders /a and /b, numbers 1 and 2, saved.
void SaveTwoFolders(const Cache& cache) {
    CTNGFolderMapCollection maps;
    maps.SetIndexFileName(kIndexName);
    AddFolder(maps, u"/a", 1, 2);
    AddFolder(maps, u"/b", 2, 3);
    ASSERT_EQ(maps.SaveFolderMaps(kIndexName, true), QXTNG_SUCCESS);
    ASSERT_EQ(cache.Names(), (Names{"1.dat", "1.db", "2.dat", "2.db", "DirectoryMap.dat"}));
}

TEST(FolderMapCollection, IsStoredByteForByte) {
    const Cache cache;
    CTNGFolderMapCollection maps;
    const Bytes example =
        FileBytes().Number(1).Number(1).Text(u"C:\\P").Text(u"1.db").Text(u"1.dat").Number(1);
    ASSERT_EQ(example.size(), 50u);
    cache.Write("DirectoryMap.dat", example);
    ASSERT_EQ(maps.Load(kIndexName, nullptr, false, true, nullptr), QXTNG_SUCCESS);
    EXPECT_EQ(maps.AppendThumbnails(kIndexName), QXTNG_SUCCESS) << "all folders, of whatever drive";
    EXPECT_EQ(cache.Read("DirectoryMap.dat"), example);
    ASSERT_EQ(maps.SaveFolderMaps(kIndexName, true), QXTNG_SUCCESS);
    EXPECT_EQ(cache.Read("DirectoryMap.dat"), Bytes({1, 0, 0, 0})) << "a path without a drive is left out";
    EXPECT_EQ(maps.LookupFolderMap(u"C:\\P", nullptr), 1) << "and stays in memory";
}

TEST(FolderMapCollection, LoadsInThreeModes) {
    const Cache cache;
    SaveTwoFolders(cache);
    const struct {
        const char* pszWhat;
        const char16_t* pszPath;
        bool bPathIsFile, bMapOnly;
        int nA, nB;  // records of the two folders that are loaded
        std::size_t nIndexed;
    } cases[] = {
        {"all lists", nullptr, false, false, 2, 3, 5},
        {"one folder", u"/b", false, false, 0, 3, 3},
        {"the folder of a file", u"/a/x", true, false, 2, 0, 2},
        {"a folder that is not there", u"/c", false, false, 0, 0, 0},
        {"a file without a folder", u"a", true, false, 0, 0, 0},
        {"an empty path", u"", true, false, 0, 0, 0},
        {"no lists", nullptr, false, true, 0, 0, 0},
        {"no lists, whatever the path", u"/a", false, true, 0, 0, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.pszWhat);
        CTNGFolderMapCollection maps;
        TNGPathIndex index;
        ASSERT_EQ(maps.Load(kIndexName, c.pszPath, c.bPathIsFile, c.bMapOnly, &index), QXTNG_SUCCESS);
        CTNGFolderMap *pA = nullptr, *pB = nullptr;
        ASSERT_TRUE(maps.LookupFolderMap(u"/a", &pA) && maps.LookupFolderMap(u"/b", &pB));
        EXPECT_EQ(pA->FileDataList->GetCount(), c.nA);
        EXPECT_EQ(pB->FileDataList->GetCount(), c.nB);
        EXPECT_EQ(index.size(), c.nIndexed);
        for (const CTNGFolderMap* p : {pA, pB}) {
            EXPECT_EQ(p->m_bListLoaded, p->FileDataList->GetCount() > 0);
            Platform::FILETIME time;
            CTNGFileInfo::GetFileLastWriteTime(cache.Text(p == pA ? "1.dat" : "2.dat").c_str(), &time);
            EXPECT_EQ(Platform::CompareFileTime(&p->m_ftListFile, &time) == 0, p->m_bListLoaded);
        }
        CTNGFolderMap* pFound = nullptr;
        EXPECT_EQ(maps.LoadIndexFile(u"/b/x", true, &pFound, &index), QXTNG_SUCCESS);
        EXPECT_EQ(pFound, c.nB ? nullptr : pB) << "what is loaded is not touched";
        EXPECT_EQ(pB->FileDataList->GetCount(), 3);
        EXPECT_EQ(maps.LoadIndexFile(u"x", true, &(pFound = nullptr), &index), QXTNG_ERROR_NOT_CACHED);
        EXPECT_EQ(maps.LoadIndexFile(u"/c", false, &(pFound = nullptr), &index), QXTNG_ERROR_NOT_CACHED);
        EXPECT_EQ(maps.LoadIndexFile(u"", false, &(pFound = pA), &index), QXTNG_SUCCESS);
        EXPECT_EQ(pA->FileDataList->GetCount(), 2);
    }
}

TEST(FolderMapCollection, EndsWithTheFileAndTakesTheFirstOfTwins) {
    const Cache cache;
    SaveTwoFolders(cache);
    CTNGFolderMapCollection maps;
    cache.Write("DirectoryMap.dat", Index(0x7FFFFFFF, {}));
    EXPECT_EQ(maps.Load(kIndexName, nullptr, false, false, nullptr), QXTNG_ERROR_FILE_READ);
    cache.Write("DirectoryMap.dat", Index(0x7FFFFFFF, {Head(u"/a", 1), Head(u"/a", 2), Head(u"/b", 2)}));
    EXPECT_EQ(maps.Load(kIndexName, nullptr, false, false, nullptr), QXTNG_SUCCESS);
    EXPECT_EQ(maps.FindItem(u"/a")->m_nFileNumber, 1);
    EXPECT_EQ(maps.FindItem(u"/a")->FileDataList->GetCount(), 2);
    EXPECT_EQ(maps.FindItem(u"/b")->FileDataList->GetCount(), 3);
}

// Of two folders with one pair of files, or one of them, the first counts. The other must not cost it its
// files.
TEST(FolderMapCollection, TakesNoFolderWhoseFilesAreAnotherOnes) {
    const Cache cache;
    SaveTwoFolders(cache);
    const auto head = [](const char16_t* pszData, const char16_t* pszList) -> Bytes {
        return FileBytes().Number(1).Text(u"/c").Text(pszData).Text(pszList).Number(1);
    };
    for (const Bytes& twin : {head(u"1.db", u"1.dat"), head(u"2.db", u"1.dat"), head(u"1.db", u"7.dat")}) {
        cache.Write("DirectoryMap.dat", Index(3, {Head(u"/a", 1), twin, Head(u"/b", 2)}));
        for (const bool bIndexOnly : {true, false}) {
            CTNGFolderMapCollection maps;
            TNGPathIndex index;
            ASSERT_EQ(maps.Load(kIndexName, nullptr, false, bIndexOnly, &index), QXTNG_SUCCESS);
            EXPECT_EQ(Folders(maps, {u"/a", u"/b", u"/c"}), (std::set<std::u16string>{u"/a", u"/b"}));
            bool bAdded = true;
            EXPECT_EQ(maps.CheckAndAddNewFolderMap(cache.Text("DirectoryMap.dat"), &bAdded, &index),
                      QXTNG_SUCCESS);
            EXPECT_FALSE(bAdded);
        }
        EXPECT_EQ(cache.Names(), (Names{"1.dat", "1.db", "2.dat", "2.db", "DirectoryMap.dat"}));
    }
}

TEST(FolderMapCollection, GivesUpAListThatItIsAskedFor) {
    for (const bool bOnDemand : {false, true}) {
        const Cache cache;
        SaveTwoFolders(cache);
        cache.Write("2.dat", FileBytes().Number(1).Number(7));
        CTNGFolderMapCollection maps;
        TNGPathIndex index;
        CTNGFolderMap* pFolder = nullptr;
        EXPECT_EQ(maps.Load(kIndexName, u"/b", false, bOnDemand, &index), QXTNG_SUCCESS);
        EXPECT_EQ(maps.LoadIndexFile(u"/b", false, &pFolder, &index),
                  bOnDemand ? QXTNG_ERROR_FILE_READ : QXTNG_ERROR_NOT_CACHED);
        EXPECT_EQ(maps.LookupFolderMap(u"/b", nullptr), bOnDemand) << "it is for the caller to remove";
        EXPECT_EQ(cache.Names(), (Names{"1.dat", "1.db", "DirectoryMap.dat"}));
    }
}

// Whatever an index says, files beside the cache are not the cache's to delete.
TEST(FolderMapCollection, TouchesNothingOutsideItsFolder) {
    const Cache cache;
    const std::filesystem::path inner = cache / "cache";
    std::filesystem::create_directory(inner);
    cache.Write("precious.dat", Bytes(9, 7));
    cache.Write("precious.db", Bytes(9, 7));
    s_strCacheFolder.Set(TestSupport::TextOf(inner));
    cache.Write(
        "cache/DirectoryMap.dat",
        Index(
            1,
            {FileBytes().Number(1).Text(u"/a").Text(u"../precious.db").Text(u"../precious.dat").Number(1)}));
    CTNGFolderMapCollection maps;
    maps.Load(kIndexName, nullptr, false, false, nullptr);
    EXPECT_TRUE(cache.Has("precious.dat"));
    EXPECT_TRUE(cache.Has("precious.db"));
}

TEST(FolderMapCollection, TellsAMissingIndexFromOneThatCannotBeOpened) {
    const Cache cache;
    CTNGFolderMapCollection maps;
    EXPECT_EQ(maps.GetFolderMapMutex(), nullptr);
    bool bAdded = true;
    EXPECT_EQ(maps.CheckAndAddNewFolderMap(cache.Text("none"), &bAdded, nullptr), QXTNG_ERROR_LOCK_FAILED);
    TestSupport::LogCapture log(1u << 2);
    EXPECT_EQ(maps.Load(kIndexName, nullptr, false, false, nullptr), QXTNG_ERROR_NOT_CACHED);
    EXPECT_TRUE(log.Has("2 CTNGFolderMapCollection::Load condition eStatus == FILE_NOT_FOUND"));
    cache.Write("file", {});
    EXPECT_EQ(maps.Load(u"file/x", nullptr, false, false, nullptr), QXTNG_ERROR_NOT_CACHED);
    EXPECT_TRUE(log.Has("2 CTNGFolderMapCollection::Load condition QXTNG_ERROR_NOT_CACHED"));
    const auto pMutex = maps.GetFolderMapMutex();
    AddFolder(maps, u"/a", 1);
    {
        const CTNGAutoMutexPtr hold(pMutex.get(), true, 0, true);
        EXPECT_EQ(maps.SaveFolderMaps(kIndexName, true), QXTNG_ERROR_LOCK_FAILED);
        EXPECT_EQ(maps.Load(u"other", nullptr, false, false, nullptr), QXTNG_ERROR_LOCK_FAILED);
        EXPECT_TRUE(log.Has("2 CTNGFolderMapCollection::Load condition folderMapMutex.IsLocked failed"));
        EXPECT_EQ(maps.LookupFolderMap(u"/a", nullptr), 1) << "the old table stands";
    }
    EXPECT_EQ(maps.CheckAndAddNewFolderMap(cache.Text("none"), &bAdded, nullptr), QXTNG_SUCCESS);
    EXPECT_TRUE(bAdded) << "not touched without an index file";
}

TEST(FolderMapCollection, TakesUpFoldersOfOthers) {
    const Cache cache;
    SaveTwoFolders(cache);
    CTNGFolderMapCollection maps;
    maps.SetIndexFileName(kIndexName);
    const CTNGFolderMap* const pOwn = AddFolder(maps, u"/own", 7);
    AddFolder(maps, u"/a", 6);
    AddFolder(maps, u"/deleted", 2);
    const auto twin = Head(u"/b", 7);
    cache.Write("DirectoryMap.dat", Index(5, {Head(u"/a", 1), Head(u"/gone", 9), Head(u"/b", 2), twin}));
    bool bAdded = false;
    EXPECT_EQ(maps.CheckAndAddNewFolderMap(cache.Text("DirectoryMap.dat"), &bAdded, nullptr),
              QXTNG_ERROR_FAILED)
        << "nothing can be forgotten without the path index";
    TNGPathIndex index;
    EXPECT_EQ(maps.CheckAndAddNewFolderMap(cache.Text("DirectoryMap.dat"), &bAdded, &index), QXTNG_SUCCESS);
    EXPECT_TRUE(bAdded);
    CTNGFolderMap* pFound = nullptr;
    ASSERT_EQ(maps.LookupFolderMap(u"/b", &pFound), 1);
    EXPECT_FALSE(pFound->m_bListLoaded);
    EXPECT_NE(pFound->m_ftListFile.dwHighDateTime, 0u);
    EXPECT_EQ(maps.FindItem(u"/own"), pOwn) << "it may not be saved yet, and the twin does not count";
    EXPECT_EQ(maps.FindItem(u"/a")->m_nFileNumber, 1) << "somebody has made it anew";
    EXPECT_EQ(maps.LookupFolderMap(u"/deleted", nullptr), 0) << "its files are those of another folder";
    EXPECT_EQ(maps.LookupFolderMap(u"/gone", nullptr), 0) << "it has no list file";
    EXPECT_EQ(maps.CheckAndAddNewFolderMap(cache.Text("DirectoryMap.dat"), &bAdded, &index), QXTNG_SUCCESS);
    EXPECT_FALSE(bAdded);
    std::int32_t number = 3;
    maps.NextFileNumberAfterMaps(&number);
    EXPECT_EQ(number, 8);
    maps.NextFileNumberAfterMaps(&(number = 20));
    EXPECT_EQ(number, 20);
}

// The first list takes a second, because its lock is held; there is no time left for the others.
TEST(FolderMapCollection, SavesListsForAboutASecond) {
    const Cache cache;
    SaveTwoFolders(cache);
    CTNGFolderMapCollection maps;
    ASSERT_EQ(maps.Load(kIndexName, nullptr, false, false, nullptr), QXTNG_SUCCESS);
    AddFolder(maps, u"/c", 3);
    AddFolder(maps, u"/d", 4);
    std::vector<std::pair<TNGFileLock, std::unique_ptr<CTNGAutoMutexPtr>>> holds;
    for (const char16_t* pszPath : {u"/c", u"/d"}) {
        CTNGFolderMap* pFolder = maps.FindItem(pszPath);
        pFolder->m_bListDirty = true;
        pFolder->m_nStaleBlocks = 1;
        const TNGFileLock pLock = pFolder->FileDataList->GetListLock();
        holds.emplace_back(pLock, std::make_unique<CTNGAutoMutexPtr>(pLock.get(), false, 0, true));
    }
    EXPECT_EQ(maps.SaveFolderMaps(kIndexName, true), QXTNG_ERROR_FILE_WRITE);
    for (const char16_t* pszPath : {u"/c", u"/d"}) {
        EXPECT_TRUE(maps.FindItem(pszPath)->m_bListDirty) << "it stays to be saved";
        EXPECT_EQ(maps.FindItem(pszPath)->m_nStaleBlocks, 1);
    }
    CTNGFolderMapCollection fresh;
    ASSERT_EQ(fresh.Load(kIndexName, nullptr, false, true, nullptr), QXTNG_SUCCESS);
    EXPECT_EQ(Folders(fresh, {u"/a", u"/b", u"/c", u"/d"}).size(), 3u)
        << "but for the one that failed and has no list yet";
    holds.clear();
    EXPECT_EQ(maps.SaveFolderMaps(kIndexName, true), QXTNG_SUCCESS);
    ASSERT_EQ(fresh.Load(kIndexName, nullptr, false, false, nullptr), QXTNG_SUCCESS);
    EXPECT_EQ(Folders(fresh, {u"/a", u"/b", u"/c", u"/d"}).size(), 4u);
}

TEST(FolderMapCollection, AppendsWhatIsNew) {
    const Cache cache;
    CTNGFolderMapCollection maps;
    EXPECT_EQ(maps.AppendThumbnails(kIndexName), QXTNG_SUCCESS);
    EXPECT_TRUE(cache.Names().empty()) << "an empty table leaves the index alone";
    CTNGFolderMap* pFolder = AddFolder(maps, u"/a", 1, 2);
    ASSERT_EQ(maps.AppendThumbnails(kIndexName), QXTNG_SUCCESS);
    EXPECT_FALSE(pFolder->m_bListDirty);
    AddPicture(*pFolder, u"/a/z", 9);
    pFolder->m_bListDirty = true;
    ASSERT_EQ(maps.AppendThumbnails(kIndexName), QXTNG_SUCCESS);
    EXPECT_EQ(maps.AppendThumbnails(kIndexName), QXTNG_SUCCESS) << "also with nothing new";
    Platform::FILETIME time;
    ASSERT_TRUE(CTNGFileInfo::GetFileLastWriteTime(cache.Text("DirectoryMap.dat").c_str(), &time));
    const Platform::FILETIME noted = s_ftDirectoryMap;
    EXPECT_EQ(Platform::CompareFileTime(&time, &noted), 0);
    CTNGFolderMapCollection fresh;
    ASSERT_EQ(fresh.Load(kIndexName, u"/a", false, false, nullptr), QXTNG_SUCCESS);
    EXPECT_EQ(fresh.FindItem(u"/a")->FileDataList->GetCount(), 3);
}

TEST(FolderMapCollection, DropsAll) {
    for (const bool bFiles : {false, true}) {
        const Cache cache;
        SaveTwoFolders(cache);
        cache.Write("other", {});
        CTNGFolderMapCollection maps;
        maps.DeleteAll(true);
        ASSERT_EQ(maps.Load(kIndexName, nullptr, false, true, nullptr), QXTNG_SUCCESS);
        const TNGFileLock pLock = GetFileLockForPath(cache.Text("1.db"), false);
        const auto pMutex = maps.GetFolderMapMutex();
        maps.DeleteAll(bFiles);
        EXPECT_EQ(maps.LookupFolderMap(u"/a", nullptr), 0);
        EXPECT_EQ(cache.Names().size(), bFiles ? 1u : 6u);
        EXPECT_EQ(GetFileLockForPath(cache.Text("1.db"), false) == pLock, !bFiles);
        EXPECT_EQ(maps.GetFolderMapMutex(), pMutex) << "whoever waits for it would be alone with it";
        const Platform::FILETIME noted = s_ftDirectoryMap;
        EXPECT_EQ(noted.dwHighDateTime == 0, bFiles);
    }
}

}  // namespace

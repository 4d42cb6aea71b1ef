#include "store/TNGFolderMapCollection.h"

#include <gtest/gtest.h>

#include "common/TNGTypes.h"
#include "locks/TNGAutoMutexPtr.h"
#include "store/StoreFixture.h"

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

TEST(FolderMapCollection, StaysAsItIsWhileSomebodyHasIt) {
    const Cache cache;
    CTNGFolderMapCollection maps;
    EXPECT_EQ(maps.Load(kIndexName, nullptr, false, false, nullptr), QXTNG_ERROR_NOT_CACHED);
    AddFolder(maps, u"/a", 1);
    const auto pMutex = maps.GetFolderMapMutex();
    CTNGAutoMutexPtr hold(pMutex.get(), true, 0, true);
    EXPECT_EQ(maps.SaveFolderMaps(kIndexName, true), QXTNG_ERROR_LOCK_FAILED);
    EXPECT_EQ(maps.Load(u"other", nullptr, false, false, nullptr), QXTNG_ERROR_LOCK_FAILED);
    EXPECT_EQ(maps.LookupFolderMap(u"/a", nullptr), 1);
    hold.Release();
    maps.DeleteAll(true);
    EXPECT_EQ(maps.GetFolderMapMutex(), pMutex) << "whoever waits for it would be alone with it";
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

TEST(FolderMapCollection, KeepsForLaterAListThatCannotBeSaved) {
    const Cache cache;
    SaveTwoFolders(cache);
    CTNGFolderMapCollection maps, fresh;
    ASSERT_EQ(maps.Load(kIndexName, nullptr, false, false, nullptr), QXTNG_SUCCESS);
    CTNGFolderMap* const pNew = AddFolder(maps, u"/c", 3);
    {
        const TNGFileLock pLock = pNew->FileDataList->GetListLock();
        const CTNGAutoMutexPtr hold(pLock.get(), false, 0, true);
        EXPECT_EQ(maps.SaveFolderMaps(kIndexName, true), QXTNG_ERROR_FILE_WRITE);
        EXPECT_TRUE(pNew->m_bListDirty);
    }
    const std::vector<std::u16string> folders = {u"/a", u"/b", u"/c"};
    ASSERT_EQ(fresh.Load(kIndexName, nullptr, false, true, nullptr), QXTNG_SUCCESS);
    EXPECT_EQ(Folders(fresh, folders).size(), 2u) << "but for the one that has no list yet";
    EXPECT_EQ(maps.SaveFolderMaps(kIndexName, true), QXTNG_SUCCESS);
    ASSERT_EQ(fresh.Load(kIndexName, nullptr, false, false, nullptr), QXTNG_SUCCESS);
    EXPECT_EQ(Folders(fresh, folders).size(), 3u);
}

TEST(FolderMapCollection, GivesUpAListThatItIsAskedFor) {
    const Cache cache;
    SaveTwoFolders(cache);
    cache.Write("2.dat", FileBytes().Number(1).Number(7));
    CTNGFolderMapCollection maps;
    CTNGFolderMap* pFolder = nullptr;
    ASSERT_EQ(maps.Load(kIndexName, nullptr, false, true, nullptr), QXTNG_SUCCESS);
    EXPECT_EQ(maps.LoadIndexFile(u"/b", false, &pFolder, nullptr), QXTNG_ERROR_FILE_READ);
    EXPECT_EQ(maps.LookupFolderMap(u"/b", nullptr), 1) << "it is for the caller to remove";
    EXPECT_EQ(cache.Names(), (Names{"1.dat", "1.db", "DirectoryMap.dat"}));
    pFolder = nullptr;
    ASSERT_EQ(maps.LoadIndexFile(u"/a", false, &pFolder, nullptr), QXTNG_SUCCESS);
    Platform::FILETIME time;
    ASSERT_TRUE(CTNGFileInfo::GetFileLastWriteTime(cache.Text("1.dat").c_str(), &time));
    EXPECT_EQ(Platform::CompareFileTime(&pFolder->m_ftListFile, &time), 0);
}

TEST(FolderMapCollection, NotesTheTimeOfWhatItAppends) {
    const Cache cache;
    CTNGFolderMapCollection maps;
    EXPECT_EQ(maps.AppendThumbnails(kIndexName), QXTNG_SUCCESS);
    EXPECT_TRUE(cache.Names().empty()) << "an empty table leaves the index alone";
    AddFolder(maps, u"/a", 1);
    ASSERT_EQ(maps.AppendThumbnails(kIndexName), QXTNG_SUCCESS);
    Platform::FILETIME time;
    ASSERT_TRUE(CTNGFileInfo::GetFileLastWriteTime(cache.Text("DirectoryMap.dat").c_str(), &time));
    const Platform::FILETIME noted = s_ftDirectoryMap;
    EXPECT_EQ(Platform::CompareFileTime(&time, &noted), 0);
}

}  // namespace

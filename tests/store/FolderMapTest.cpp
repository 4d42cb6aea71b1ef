#include "locks/TNGLockHold.h"
#include "store/TNGFolderMap.h"

#include <gtest/gtest.h>

#include "common/TNGTypes.h"
#include "store/StoreFixture.h"

namespace {

using namespace StoreTest;

int LoadFrom(const Cache& cache, const Bytes& bytes, CTNGFolderMap& folder) {
    std::FILE* pFile = nullptr;
    EXPECT_EQ(Platform::_wfopen_s(&pFile, cache.Write("index", bytes).c_str(), "rb"), 0);
    const int result = folder.Load(pFile);
    Platform::CloseStream(pFile);
    return result;
}

int SaveTo(const Cache& cache, CTNGFolderMap& folder) {
    std::FILE* pFile = nullptr;
    EXPECT_EQ(Platform::_wfopen_s(&pFile, cache.Text("index").c_str(), "wb"), 0);
    const int result = folder.Save(pFile);
    EXPECT_TRUE(Platform::CloseStream(pFile));
    return result;
}

TEST(FolderMap, SavesItsListAsNeeded) {
    const Cache cache;
    const struct {
        const char* pszWhat;
        bool bHeaderOnly, bLoaded, bDirty;
        std::int32_t nStale;
        bool bListWritten, bCompacted;
    } cases[] = {
        {"header only", true, true, true, 1, false, false},
        {"not loaded", false, false, true, 1, false, false},
        {"unchanged", false, true, false, 0, false, false},
        {"changed", false, true, true, 0, true, false},
        {"dead blocks", false, true, false, 2, true, true},
        {"both", false, true, true, 2, true, true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.pszWhat);
        cache.Write("1.dat", Bytes(3));
        cache.Write("1.db", {});
        const auto pFolder = NewFolder(u"/p", 1);
        AddPicture(*pFolder, u"/p/a", 1);
        AddPicture(*pFolder, u"/p/b", 2);
        pFolder->FileDataList->RemoveRecord(u"/p/a");
        pFolder->m_bHeaderOnly = c.bHeaderOnly;
        pFolder->m_bListLoaded = c.bLoaded;
        pFolder->m_bListDirty = c.bDirty;
        pFolder->m_nStaleBlocks = c.nStale;
        EXPECT_EQ(SaveTo(cache, *pFolder), 1);
        EXPECT_EQ(cache.Read("index").size(), 20 + 2 * (2 + 4 + 5u));
        EXPECT_EQ(cache.Read("1.dat").size() > 3, c.bListWritten);
        // A dead byte in front keeps the new block apart from the old one of the same length.
        EXPECT_EQ(cache.Read("1.db").size(), c.bCompacted ? 83u : 164u);
        const bool bSaved = !c.bHeaderOnly && c.bLoaded;
        EXPECT_EQ(pFolder->m_bListDirty, c.bDirty && !bSaved) << "what was not saved is kept for later";
        EXPECT_EQ(pFolder->m_nStaleBlocks, bSaved ? 0 : c.nStale);
        const auto pFresh = std::make_unique<CTNGFolderMap>(false);
        if (c.bListWritten) {
            EXPECT_EQ(LoadFrom(cache, cache.Read("index"), *pFresh), 1);
            EXPECT_TRUE(pFresh->m_bListLoaded);
            EXPECT_EQ(Paths(*pFresh->FileDataList), std::vector<std::u16string>{u"/p/b"});
        }
    }
    const auto pFolder = NewFolder(u"/p", 1);
    AddPicture(*pFolder, u"/p/a", 1);
    pFolder->m_nStaleBlocks = 1;
    const TNGLockHold hold(pFolder->FileDataList->GetListLock(), true);
    EXPECT_EQ(SaveTo(cache, *pFolder), 0) << "somebody is at its list";
    EXPECT_FALSE(cache.Read("index").empty()) << "with the list that is there";
    std::filesystem::remove(cache / "1.dat");
    EXPECT_EQ(SaveTo(cache, *pFolder), 0);
    EXPECT_EQ(cache.Read("index"), Bytes()) << "no record of it";
    EXPECT_EQ(pFolder->m_nStaleBlocks, 1);
}

}  // namespace

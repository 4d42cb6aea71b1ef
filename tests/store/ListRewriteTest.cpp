// The list of a folder: its records, rewriting its file, compacting the data file.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "common/TNGThreshold.h"
#include "common/TNGTypes.h"
#include "locks/TNGAutoMutexPtr.h"
#include "store/StoreFixture.h"

namespace {

using namespace StoreTest;

using Texts = std::vector<std::u16string>;

const std::set<std::string> kBothFiles = {"1.dat", "1.db"};

Texts LoadedPaths() {
    const auto pFresh = NewFolder(u"/p", 1);
    EXPECT_EQ(pFresh->FileDataList->LoadList(u"1.dat", nullptr), QXTNG_SUCCESS);
    return Paths(*pFresh->FileDataList);
}

class Threshold {
  public:
    explicit Threshold(std::uint32_t nBytes) : m_nBefore(s_dwThresholdFileSize.exchange(nBytes)) {}
    ~Threshold() { s_dwThresholdFileSize = m_nBefore; }

  private:
    std::uint32_t m_nBefore;
};

TEST(List, ALoadThatFailsLeavesNothingInTheIndex) {
    const Cache cache;
    const auto pFolder = NewFolder(u"/p", 1);
    CTNGFileDataCollection& list = *pFolder->FileDataList;
    AddPicture(*pFolder, u"/p/a", 1);
    ASSERT_EQ(list.AppendNewRecords(), QXTNG_SUCCESS);
    TNGPathIndex index;
    EXPECT_EQ(list.LoadList(u"1.dat", &index), QXTNG_SUCCESS);
    EXPECT_EQ(index.size(), 1u);
    Bytes bytes = cache.Read("1.dat");
    bytes[0] = 2;
    cache.Write("1.dat", bytes);
    EXPECT_EQ(list.LoadList(u"1.dat", &index), QXTNG_ERROR_FILE_READ) << "it ends too soon";
    EXPECT_TRUE(index.empty() && list.GetCount() == 0);
}

TEST(List, FindsAndRemovesInOrder) {
    const Cache cache;
    const auto pFolder = NewFolder(u"/p", 1);
    CTNGFileDataCollection& list = *pFolder->FileDataList;
    for (const char16_t* pszPath : {u"a", u"b", u"a", u"c", u"a"}) {
        auto pRecord = std::make_unique<CTNGFileData>();
        pRecord->m_strFilePath = pszPath;
        list.AddItem(std::move(pRecord));
    }
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

TEST(ListRewrite, CompactsToLiveBlocks) {
    const Cache cache;
    const Threshold threshold(1000);
    const auto source = [&](const char* pszName, std::size_t nBytes) {
        return cache.Write(std::string("src/") + pszName, Bytes(nBytes));
    };
    const struct {
        const char* pszWhat;
        std::u16string path;
        std::int32_t nExtraLarge;
        TNGAssetType type;
        bool bMarked, bOtherFile;
        bool bKept, bKeepsExtraLarge, bMarkedAfter;
    } cases[] = {
        {"plain", source("plain", 10), 0, ASSET_TYPE_IMAGE, false, false, true, false, false},
        {"marked", source("marked", 10), 0, ASSET_TYPE_IMAGE, true, false, false, false, true},
        {"large", source("large", 1000), 90, ASSET_TYPE_IMAGE, false, false, true, true, false},
        {"no longer large", source("shrunk", 999), 80, ASSET_TYPE_IMAGE, false, false, true, false, false},
        {"gone", cache.Text("src/gone"), 70, ASSET_TYPE_IMAGE, false, false, true, false, false},
        {"large by now", source("grown", 1000), 0, ASSET_TYPE_IMAGE, false, false, false, false, true},
        {"video", source("video", 10), 60, ASSET_TYPE_VIDEO, false, false, true, true, false},
        {"video that lacks one", source("poor", 10), 0, ASSET_TYPE_VIDEO, false, false, false, false, true},
        {"elsewhere", source("else", 10), 0, ASSET_TYPE_IMAGE, false, true, false, false, false},
        {"audio", source("audio", 10), 0, ASSET_TYPE_AUDIO, false, false, true, false, false},
        {"unknown", source("unknown", 10), 0, ASSET_TYPE_UNKNOWN, false, false, true, false, false},
    };
    const auto pFolder = NewFolder(u"/p", 1);
    int tag = 0;
    Texts kept;
    for (const auto& c : cases) {
        AddPicture(*pFolder, u"/p/dead", 100);
        pFolder->FileDataList->RemoveRecord(u"/p/dead");
        ++tag;
        CTNGFileData* pRecord = AddPicture(*pFolder, c.path, tag, 50 + tag, 20 + tag, c.nExtraLarge, c.type);
        pRecord->m_bDeleted = c.bMarked;
        if (c.bOtherFile) pRecord->m_strDataFileName = u"2.db";
        if (c.bKept) kept.push_back(c.path);
    }
    AddPicture(*pFolder, u"/p/none", 100, 50, 20, 0, ASSET_TYPE_VIDEO);
    SetThumbnailLocations(*pFolder->FileDataList->GetAt(tag), true, 0, false, 0, 0, 0);
    kept.push_back(u"/p/none");

    ASSERT_EQ(pFolder->FileDataList->SaveList(true, u"1.db", true), QXTNG_SUCCESS);
    EXPECT_EQ(LoadedPaths(), kept);
    EXPECT_TRUE(HasNoThumbnail(*pFolder->FileDataList->GetAt(tag)));
    const auto pFresh = NewFolder(u"/p", 1);
    ASSERT_EQ(pFresh->FileDataList->LoadList(u"1.dat", nullptr), QXTNG_SUCCESS);
    tag = 0;
    std::size_t nBytes = 0;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.pszWhat);
        ++tag;
        EXPECT_EQ(pFolder->FileDataList->GetAt(tag - 1)->m_bDeleted, c.bMarkedAfter);
        CTNGFileData* pStored = nullptr;
        CTNGFileData* pLive = nullptr;
        pFolder->FileDataList->FindRecord(c.path, &pLive);
        if (!c.bKept || (c.type != ASSET_TYPE_IMAGE && c.type != ASSET_TYPE_VIDEO)) continue;
        ASSERT_EQ(pFresh->FileDataList->FindRecord(c.path, &pStored), 1);
        for (const CTNGFileData* pRecord : {pLive, pStored}) {
            EXPECT_EQ(ReadThumbnail(*pFolder, *pRecord, 160), Thumbnail(50 + tag, tag));
            EXPECT_EQ(ReadThumbnail(*pFolder, *pRecord, 32), Thumbnail(20 + tag, tag));
            EXPECT_EQ(HasExtraLarge(*pRecord), c.bKeepsExtraLarge);
            if (!c.bKeepsExtraLarge) continue;
            EXPECT_EQ(ReadThumbnail(*pFolder, *pRecord, 800), Thumbnail(c.nExtraLarge, tag));
        }
        nBytes += static_cast<std::size_t>(70 + 2 * tag + 12 + (c.bKeepsExtraLarge ? c.nExtraLarge : 0));
    }
    EXPECT_EQ(cache.Read("1.db").size(), nBytes) << "nothing dead is left";
    EXPECT_EQ(cache.Names(), (std::set<std::string>{"1.dat", "1.db", "src"}));
}

// A picture whose file or whose threshold has changed since its extra-large thumbnail was dropped.
TEST(ListRewrite, CompactsAgainWhereTheThresholdWentDown) {
    const Cache cache;
    const std::u16string path = cache.Write("picture", Bytes(1000));
    const auto pFolder = NewFolder(u"/p", 1);
    AddPicture(*pFolder, path, 1, 50, 20, 90);
    AddPicture(*pFolder, u"/p/other", 2);
    ASSERT_EQ(pFolder->FileDataList->SaveList(true, u"1.db", true), QXTNG_SUCCESS);
    const CTNGFileData& record = *pFolder->FileDataList->GetAt(0);
    ASSERT_FALSE(HasExtraLarge(record));
    const Threshold threshold(1000);
    EXPECT_EQ(pFolder->FileDataList->SaveList(true, u"1.db", true), QXTNG_SUCCESS);
    EXPECT_EQ(record.m_bDeleted, 1) << "it is made again, with the thumbnail that it lacks";
    EXPECT_EQ(LoadedPaths(), Texts{u"/p/other"});
}

// A process that dies between the two files leaves the new list to the old data file: none of its records may
// find a trailer there but its own. Among so many blocks of so few sizes, no one shift would do for all.
TEST(ListRewrite, KeepsNewLocationsFromOldTrailers) {
    constexpr int kBlocks = 1500;
    const Cache cache;
    const auto pFolder = NewFolder(u"/p", 1);
    CTNGFileDataCollection& list = *pFolder->FileDataList;
    std::mt19937 random(1);
    std::vector<std::int32_t> oldTrailers;
    for (int i = 0; i < kBlocks; ++i) {
        const auto large = static_cast<std::int32_t>(30 + random() % 50);
        const auto unit = static_cast<char16_t>(0x4E00 + i);
        const CTNGFileData* pRecord = AddPicture(*pFolder, std::u16string(u"/p/") + unit, i % 200, large);
        oldTrailers.push_back(pRecord->m_nSmallOffset + pRecord->m_nSmallSize);
    }
    list.GetAt(0)->m_bDeleted = 1;
    ASSERT_EQ(list.SaveList(true, u"1.db", true), QXTNG_SUCCESS);
    int nMoved = 0, nMistaken = 0, nWrong = 0;
    for (int i = 1; i < kBlocks; ++i) {
        const CTNGFileData& record = *list.GetAt(i);
        const std::int32_t trailer = record.m_nSmallOffset + record.m_nSmallSize;
        const bool bMoved = trailer != oldTrailers[static_cast<std::size_t>(i)];
        nMoved += bMoved;
        nMistaken += bMoved && std::ranges::binary_search(oldTrailers, trailer);
        nWrong += ReadThumbnail(*pFolder, record, 160) != Thumbnail(record.m_nLargeSize, i % 200);
    }
    EXPECT_GT(nMoved, kBlocks / 2);
    EXPECT_EQ(nMistaken, 0);
    EXPECT_EQ(nWrong, 0);
    EXPECT_EQ(LoadedPaths().size(), kBlocks - 1u);
}

TEST(ListRewrite, ACompactionDropsWhatIsDamaged) {
    for (const char* pszHarm : {"trailer", "offset", "size", "data file", "no list file"}) {
        SCOPED_TRACE(pszHarm);
        const Cache cache;
        const auto pFolder = NewFolder(u"/p", 1);
        CTNGFileDataCollection& list = *pFolder->FileDataList;
        const std::string harm = pszHarm;
        for (int i = 0; i < 4; ++i)
            AddPicture(*pFolder, u"/p/" + std::u16string(1, static_cast<char16_t>(u'a' + i)), i);
        list.GetAt(0)->m_bDeleted = 1;
        if (harm != "no list file") list.AppendNewRecords();
        Bytes data = cache.Read("1.db");
        CTNGFileData& bad = *list.GetAt(2);
        if (harm == "trailer" || harm == "no list file") data[3 * 82 - 5] ^= 1;
        if (harm == "offset") bad.m_nSmallOffset = 0x7FFFFFF0;
        if (harm == "size") bad.m_nLargeSize = 0x7FFFFFF0;
        if (harm == "data file") data.resize(2 * 82);
        cache.Write("1.db", data);
        EXPECT_EQ(list.SaveList(true, u"1.db", true), QXTNG_SUCCESS);
        EXPECT_EQ(bad.m_bDeleted, 1);
        EXPECT_EQ(cache.Names(), (std::set<std::string>{"1.dat", "1.db"})) << "no temporary file";
        EXPECT_EQ(ReadThumbnail(*pFolder, *list.GetAt(1), 32), Thumbnail(20, 1));
        const Texts left = harm == "data file" ? Texts{u"/p/b"} : Texts{u"/p/b", u"/p/d"};
        EXPECT_EQ(LoadedPaths(), left);
    }
}

}  // namespace

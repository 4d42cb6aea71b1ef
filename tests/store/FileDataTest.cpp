#include "store/TNGFileData.h"

#include <gtest/gtest.h>

#include <limits>

#include "store/StoreFixture.h"

namespace {

using namespace StoreTest;

constexpr std::int32_t kMax = std::numeric_limits<std::int32_t>::max();

// With a value of its own in each field.
CTNGFileData FullRecord() {
    CTNGFileData record;
    record.m_strFilePath = u"/a.jpg";
    record.m_eFileType = ASSET_TYPE_IMAGE;
    record.m_strDataFileName = u"1.db";
    record.m_ftLastWrite = {0x11223344, 0x01D00000};
    record.m_nFileSize = 0xFEDCBA98;
    record.m_bDeleted = record.m_bAudio = record.m_bEmbedded = 1;
    record.m_nOriginalWidth = 0x12345678;
    record.m_nOriginalHeight = 2000;
    SetThumbnailLocations(record, false, 100, true, 7, 8, 9);
    return record;
}

// Loads a record from a file of these bytes.
int LoadFrom(const Cache& cache, const Bytes& bytes, CTNGFileData& record) {
    const std::u16string path = cache.Write("record", bytes);
    std::FILE* pFile = nullptr;
    EXPECT_EQ(Platform::_wfopen_s(&pFile, path.c_str(), "rb"), 0);
    const int result = record.Load(pFile);
    Platform::CloseStream(pFile);
    return result;
}

Bytes Saved(const Cache& cache, CTNGFileData record) {
    std::FILE* pFile = nullptr;
    EXPECT_EQ(Platform::_wfopen_s(&pFile, cache.Text("record").c_str(), "wb"), 0);
    EXPECT_EQ(record.Save(pFile), 1);
    EXPECT_TRUE(Platform::CloseStream(pFile));
    return cache.Read("record");
}

TEST(FileData, KeepsEveryField) {
    const Cache cache;
    const Bytes expected = FileBytes()
                               .Number(2)
                               .Text(u"/a.jpg")
                               .Number(ASSET_TYPE_IMAGE)
                               .Text(u"1.db")
                               .Number(0x11223344)
                               .Number(0x01D00000)
                               .Number(0xFEDCBA98)
                               .Number(107)
                               .Number(8)
                               .Number(115)
                               .Number(9)
                               .Append({1, 1, 1, 0, 1, 0, 0x78, 0x56})
                               .Number(0x12345678)
                               .Number(2000)
                               .Number(100)
                               .Number(7);
    EXPECT_EQ(Saved(cache, FullRecord()), expected);
    CTNGFileData loaded;
    ASSERT_EQ(LoadFrom(cache, expected, loaded), 1);
    EXPECT_EQ(Saved(cache, loaded), expected);

    Bytes first(expected.begin(), expected.end() - 8);
    first[0] = 1;
    first[first.size() - 14] = 0;  // the mark of an embedded thumbnail that is not taken
    CTNGFileData old;
    ASSERT_EQ(LoadFrom(cache, first, old), 1);
    EXPECT_EQ(old.m_nVersion, 1u);
    EXPECT_EQ(old.m_bEmbedded, 1);
    EXPECT_EQ(old.m_nExtraLargeOffset, -1);
    EXPECT_EQ(Saved(cache, old)[0], 2) << "written in the version of today";

    CTNGFileData empty;
    EXPECT_EQ(LoadFrom(cache, Saved(cache, empty), loaded), 1);
    EXPECT_TRUE(loaded.m_strFilePath.empty() && loaded.m_strDataFileName.empty());
}

TEST(ThumbnailLocation, FollowsTheRequest) {
    CTNGFileData with, without, none;
    SetThumbnailLocations(with, false, 1000, true, 300, 200, 100);
    SetThumbnailLocations(without, false, 1000, false, 0, 200, 100);
    SetThumbnailLocations(none, true, 5, true, 6, 7, 8);
    const struct {
        const CTNGFileData* pRecord;
        TNGSize request;
        std::int32_t offset, size, trailer;
    } cases[] = {
        {&with, {161, 161}, 1000, 300, 1600},  {&with, {5000, 5000}, 1000, 300, 1600},
        {&with, {200, 100}, 1300, 200, 1600},  {&with, {160, 160}, 1300, 200, 1600},
        {&with, {33, 33}, 1300, 200, 1600},    {&with, {32, 33}, 1500, 100, 1600},
        {&with, {33, 32}, 1500, 100, 1600},    {&with, {0, 0}, 1500, 100, 1600},
        {&without, {161, 161}, -1, 0, 299},    {&without, {160, 161}, 1000, 200, 1300},
        {&without, {32, 32}, 1200, 100, 1300}, {&none, {32, 32}, -1, -1, -2},
    };
    for (const auto& c : cases) {
        std::int32_t offset = 0, size = 0, trailer = 0;
        GetThumbnailLocation(*c.pRecord, c.request, &offset, &size, &trailer);
        EXPECT_EQ(offset, c.offset) << c.request.nWidth << ' ' << c.request.nHeight;
        EXPECT_EQ(size, c.size);
        EXPECT_EQ(trailer, c.trailer);
    }
    for (const TNGAssetType type : {ASSET_TYPE_VIDEO, ASSET_TYPE_IMAGE}) {
        none.m_eFileType = type;
        EXPECT_EQ(HasNoThumbnail(none), type == ASSET_TYPE_VIDEO);
    }
    CTNGFileData wild;
    SetThumbnailLocations(wild, false, kMax, true, kMax, kMax, kMax);  // as a damaged file may have it
    std::int32_t offset = 0, size = 0, trailer = 0;
    GetThumbnailLocation(wild, {800, 800}, &offset, &size, &trailer);
    EXPECT_EQ(offset, kMax);
}

}  // namespace

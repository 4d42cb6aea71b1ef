#include "store/TNGFileData.h"

#include <gtest/gtest.h>

#include <limits>

#include "store/StoreFixture.h"

namespace {

using namespace StoreTest;

constexpr std::int32_t kMax = std::numeric_limits<std::int32_t>::max();

CTNGFileData ExampleRecord() {
    CTNGFileData record;
    record.m_strFilePath = u"C:\\a.jpg";
    record.m_eFileType = ASSET_TYPE_IMAGE;
    record.m_strDataFileName = u"1.db";
    record.m_ftLastWrite = {0x11223344, 0x01D00000};
    record.m_nFileSize = 0xFEDCBA98;
    record.m_bDeleted = 0;
    record.m_nOriginalWidth = 3000;
    record.m_nOriginalHeight = 2000;
    SetThumbnailLocations(record, false, 0, false, 0, 5000, 900);
    return record;
}

const Bytes kExample = {
    2,    0,    0,    0,    8,    0,    0,    0,    0x43, 0,    0x3A, 0,    0x5C, 0,    0x61, 0,
    0x2E, 0,    0x6A, 0,    0x70, 0,    0x67, 0,    1,    0,    0,    0,    4,    0,    0,    0,
    0x31, 0,    0x2E, 0,    0x64, 0,    0x62, 0,    0x44, 0x33, 0x22, 0x11, 0,    0,    0xD0, 1,
    0x98, 0xBA, 0xDC, 0xFE, 0,    0,    0,    0,    0x88, 0x13, 0,    0,    0x88, 0x13, 0,    0,
    0x84, 3,    0,    0,    0,    0,    0,    0,    0,    0,    0xB8, 0x0B, 0xB8, 0x0B, 0,    0,
    0xD0, 7,    0,    0,    0xFF, 0xFF, 0xFF, 0xFF, 0,    0,    0,    0,
};

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

TEST(FileData, IsStoredByteForByte) {
    const Cache cache;
    ASSERT_EQ(kExample.size(), 92u);
    EXPECT_EQ(Saved(cache, ExampleRecord()), kExample);
    CTNGFileData loaded;
    ASSERT_EQ(LoadFrom(cache, kExample, loaded), 1);
    EXPECT_EQ(loaded.m_strFilePath, u"C:\\a.jpg");
    EXPECT_EQ(loaded.m_nSmallOffset, 5000);
    EXPECT_EQ(loaded.m_nExtraLargeOffset, -1);
    EXPECT_EQ(Saved(cache, loaded), kExample);

    CTNGFileData full = ExampleRecord();
    full.m_bDeleted = full.m_bAudio = full.m_bEmbedded = 1;
    full.m_nOriginalWidth = 0x12345678;
    SetThumbnailLocations(full, false, 100, true, 7, 8, 9);
    CTNGFileData again;
    ASSERT_EQ(LoadFrom(cache, Saved(cache, full), again), 1);
    EXPECT_EQ(Saved(cache, again), Saved(cache, full));
    const Bytes flags = {1, 1, 1, 0, 1, 0, 0x78, 0x56, 0x78, 0x56, 0x34, 0x12};
    const Bytes saved = Saved(cache, full);
    EXPECT_EQ(Bytes(saved.begin() + 68, saved.begin() + 80), flags);

    CTNGFileData empty;
    EXPECT_EQ(Saved(cache, empty).size(), 68u);
    EXPECT_EQ(LoadFrom(cache, Saved(cache, empty), again), 1);
    EXPECT_TRUE(again.m_strFilePath.empty() && again.m_strDataFileName.empty());
}

TEST(FileData, ReadsVersion1AndWhatIsCutOff) {
    const Cache cache;
    Bytes first(kExample.begin(), kExample.end() - 8);
    first[0] = 1;
    first[70] = 9;  // the mark of an embedded thumbnail that is not taken
    first[72] = 1;
    CTNGFileData record;
    ASSERT_EQ(LoadFrom(cache, first, record), 1);
    EXPECT_EQ(record.m_nVersion, 1u);
    EXPECT_EQ(record.m_bEmbedded, 1);
    EXPECT_EQ(record.m_nExtraLargeOffset, -1);
    EXPECT_EQ(record.m_nOriginalHeight, 2000u);
    EXPECT_EQ(Saved(cache, record)[0], 2) << "written in the version of today";
    for (std::size_t size = 0; size < kExample.size(); ++size) {
        CTNGFileData cut;
        const Bytes bytes(kExample.begin(), kExample.begin() + static_cast<std::ptrdiff_t>(size));
        EXPECT_EQ(LoadFrom(cache, bytes, cut), size >= 4) << size;
        EXPECT_EQ(cut.m_strFilePath.size(), size < 8 ? 0 : std::min<std::size_t>((size - 8) / 2, 8)) << size;
        EXPECT_EQ(cut.m_nOriginalHeight, size < 84 ? 0u : 2000u) << size;
        EXPECT_EQ(cut.m_bDeleted, size < 69 ? 1 : 0) << size;
    }
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
    CTNGFileData wild;
    SetThumbnailLocations(wild, false, kMax, true, kMax, kMax, kMax);  // as a damaged file may have it
    std::int32_t offset = 0, size = 0, trailer = 0;
    GetThumbnailLocation(wild, {800, 800}, &offset, &size, &trailer);
    EXPECT_EQ(offset, kMax);
}

TEST(ThumbnailLocation, KnowsRecordsWithoutThumbnailsAndChangedFiles) {
    CTNGFileData record;
    record.m_eFileType = ASSET_TYPE_VIDEO;
    EXPECT_FALSE(HasNoThumbnail(record));
    SetThumbnailLocations(record, true, 0, false, 0, 0, 0);
    EXPECT_TRUE(HasNoThumbnail(record));
    EXPECT_FALSE(HasExtraLarge(record));
    record.m_eFileType = ASSET_TYPE_IMAGE;
    EXPECT_FALSE(HasNoThumbnail(record));
    SetThumbnailLocations(record, false, 0, true, 1, 1, 1);
    EXPECT_TRUE(HasExtraLarge(record));
    record.m_nExtraLargeOffset = -1;  // what a compaction leaves
    EXPECT_FALSE(HasExtraLarge(record));

    Platform::WIN32_FIND_DATAW entry;
    entry.nFileSizeLow = record.m_nFileSize = 1000;
    entry.ftLastWriteTime = record.m_ftLastWrite = {5, 6};
    EXPECT_TRUE(IsSameFile(record, entry));
    entry.nFileSizeLow = 1001;
    EXPECT_FALSE(IsSameFile(record, entry));
    entry.nFileSizeLow = 1000;
    entry.ftLastWriteTime = {5, 7};
    EXPECT_FALSE(IsSameFile(record, entry));
}

}  // namespace

// The two classes of streams: files of records, and files of bytes.
#include "store/TNGRecordFile.h"

#include <gtest/gtest.h>

#include "common/TNGTypes.h"
#include "locks/TNGAutoMutexPtr.h"
#include "store/StoreFixture.h"
#include "store/TNGCacheFiles.h"
#include "support/ResourceLimit.h"

namespace {

using namespace StoreTest;

// Small and large content in place of small and large, also where no temporary file can be made.
TEST(RecordFile, LeavesNothingButTheNewContent) {
    const Cache cache;
    const std::string deep = std::string(125, 'a') + '/' + std::string(125, 'b');
    for (const std::string& folder : {std::string("src"), deep}) {
        for (const std::size_t before : {0u, 10u, 20'000u}) {
            for (const std::size_t units : {1u, 2030u, 2040u, 7000u}) {
                SCOPED_TRACE(std::to_string(before) + " bytes, then " + std::to_string(units) + " units");
                const std::u16string path = cache.Write(folder + "/list", Bytes(before, 'x'));
                CTNGFileData record;
                record.m_strFilePath.assign(units, u'p');
                std::int32_t count = 1, opened = 0;
                RecordFile file(path, false, &count, &opened, false);
                file.WriteRecord(&record);
                EXPECT_TRUE(file.Close());
                EXPECT_EQ(std::filesystem::file_size(cache / (folder + "/list")), 4 + 68 + 2 * units);
                CTNGFileData read;
                RecordFile reader(path, true, &count, &opened, false);
                reader.ReadRecord(&read);
                EXPECT_EQ(read.m_strFilePath, record.m_strFilePath);
                const std::filesystem::directory_iterator entries(cache / folder);
                EXPECT_EQ(std::distance(entries, {}), 1) << "no temporary file";
            }
        }
    }
}

// Room that comes back too late does not make a record whole that was written when there was none.
TEST(RecordFile, CountsNothingThatIsNotThere) {
    const Cache cache;
    cache.Write("list", FileBytes().Number(0));
    CTNGFileData record;
    record.m_strFilePath.assign(1000, u'p');
    std::int32_t count = 100, opened = 0;
    RecordFile file(cache.Text("list"), false, &count, &opened, true);
    {
        const TestSupport::FileSizeLimit limit(30'000);
        for (int i = 0; i < count && file.Status() == FILE_WRITE_OK; ++i)
            file.WriteRecord(&record);
        EXPECT_EQ(file.Status(), FILE_ACCESS_ERROR);
    }
    EXPECT_FALSE(file.Close());
    EXPECT_EQ(file.Status(), FILE_ACCESS_ERROR);
    EXPECT_EQ(cache.Read("list")[0], 0) << "the count that stood there stands";
}

TEST(DataFile, AppendsAndReadsBlocks) {
    const Cache cache;
    const std::u16string path = cache.Text("1.db");
    const Bytes extra = Thumbnail(30, 1), large = Thumbnail(20, 2), small = Thumbnail(10, 3);
    const TNGThumbnailBytes none{}, e{extra.data(), 30}, l{large.data(), 20}, s{small.data(), 10};
    CTNGDataFile file;
    EXPECT_EQ(file.AppendBlock(path, 5, {}, none, l, s), 0);
    EXPECT_EQ(file.AppendBlock(path, 5, {}, e, l, s), 42);
    EXPECT_EQ(file.Status(), DATA_FILE_OK);
    const Bytes trailer = FileBytes().Number(0).Number(1).Number(0);
    const Bytes both = FileBytes()
                           .Append(large)
                           .Append(small)
                           .Append(trailer)
                           .Append(extra)
                           .Append(large)
                           .Append(small)
                           .Append(trailer);
    EXPECT_EQ(cache.Read("1.db"), both);
    for (const auto& [pExtra, pLarge, pSmall] :
         {std::tuple{none, TNGThumbnailBytes{large.data(), 0}, s}, std::tuple{none, l, none},
          std::tuple{TNGThumbnailBytes{extra.data(), -1}, l, s}}) {
        EXPECT_EQ(file.AppendBlock(path, 5, {}, pExtra, pLarge, pSmall), -1);
        EXPECT_EQ(file.Status(), DATA_FILE_WRITE_ERROR);
    }
    cache.Write("1.db", FileBytes().Append(large).Append(small).Append(trailer).Append(small));

    const struct {
        const char* pszWhat;
        const char* pszName;
        std::int32_t offset, size, trailerOffset;
        int block, checked;
        TNGDataFileStatus status;
    } cases[] = {
        {"a good block", "1.db", 0, 20, 30, 0, 0, DATA_FILE_OK},
        {"no trailer there", "1.db", 0, 20, 29, 0, 1, DATA_FILE_BAD_TRAILER},
        {"trailer beyond the end", "1.db", 20, 10, 45, 0, 1, DATA_FILE_BAD_TRAILER},
        {"trailer before the start", "1.db", 20, 10, -12, 0, 1, DATA_FILE_BAD_TRAILER},
        {"beyond the end", "1.db", 45, 20, 30, 1, 1, DATA_FILE_READ_ERROR},
        {"no bytes", "1.db", 0, 0, 30, 1, 1, DATA_FILE_READ_ERROR},
        {"negative size", "1.db", 0, -1, 30, 1, 1, DATA_FILE_READ_ERROR},
        {"negative offset", "1.db", -1, 20, 30, 1, 1, DATA_FILE_READ_ERROR},
        {"missing file", "none.db", 0, 20, 30, 1, 1, DATA_FILE_NOT_FOUND},
        {"not a folder", "1.db/x", 0, 20, 30, 1, 1, DATA_FILE_READ_ERROR},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.pszWhat);
        Bytes buffer(64);
        TNGBlockTrailer found{{9, 9, 9}};
        const std::u16string name = cache.Text(c.pszName);
        EXPECT_EQ(file.ReadBlock(name, 5, c.offset, c.size, buffer.data()), c.block);
        EXPECT_EQ(file.ReadBlockChecked(name, 5, c.offset, c.size, c.trailerOffset, &found, buffer.data()),
                  c.checked);
        EXPECT_EQ(file.Status(), c.status);
        EXPECT_EQ(IsValidTrailer(found), c.checked == 0);
    }
    EXPECT_EQ(file.AppendBlock(cache.Text("none/1.db"), 5, {}, none, l, s), -1);
    EXPECT_EQ(file.Status(), DATA_FILE_NOT_FOUND);
}

TEST(DataFile, EndsBelowTwoGigabytes) {
    const Cache cache;
    const std::u16string path = cache.Write("1.db", {});
    const Bytes bytes = Thumbnail(100, 1);
    const TNGThumbnailBytes thumbnail{bytes.data(), 100};
    constexpr std::uint64_t kMost = 0x7FFFFFFF;
    const struct {
        std::uint64_t before;
        std::int32_t expected;
    } cases[] = {{kMost - 212, 0x7FFFFFFF - 212}, {kMost - 211, -1}, {kMost, -1}, {kMost * 3, -1}};
    for (const auto& c : cases) {
        std::filesystem::resize_file(cache / "1.db", c.before);
        EXPECT_EQ(CTNGDataFile().AppendBlock(path, 1, {}, {}, thumbnail, thumbnail), c.expected);
        EXPECT_EQ(std::filesystem::file_size(cache / "1.db"), c.before + (c.expected < 0 ? 0 : 212));
    }
    std::filesystem::resize_file(cache / "1.db", kMost - 212);
    ASSERT_GT(CTNGDataFile().AppendBlock(path, 1, {}, {}, thumbnail, thumbnail), 0);
    Bytes buffer(100);
    TNGBlockTrailer trailer;
    EXPECT_EQ(CTNGDataFile().ReadBlockChecked(path, 1, kMost - 112, 100, kMost - 12, &trailer, buffer.data()),
              0);
    EXPECT_EQ(buffer, bytes);
}

// Operations on cache files, as long as somebody else holds the lock of the file.
TEST(CacheFiles, ObeyTheLockOfTheFile) {
    const Cache cache;
    const std::u16string path = cache.Write("1.db", Bytes(100)), copy = cache.Text("2.db");
    const std::uint32_t key = CTNGFileInfo::GetHashCode(path);
    Bytes buffer(10);
    const TNGThumbnailBytes thumbnail{buffer.data(), 10};
    CTNGDataFile file;
    {
        const TNGFileLock pLock = GetFileLockForPath(path, false);
        const CTNGAutoMutexPtr hold(pLock.get(), false, 0, true);
        EXPECT_EQ(file.ReadBlock(path, key, 0, 10, buffer.data()), 0) << "readers join";
        EXPECT_EQ(file.TouchFile(path), QXTNG_SUCCESS);
        EXPECT_FALSE(DeleteCacheFile(path, key, false, 0));
        EXPECT_FALSE(CopyCacheFile(path, copy, key, true, false, 10));
        EXPECT_EQ(file.AppendBlock(path, key, {}, {}, thumbnail, thumbnail), -1) << "within a second";
        EXPECT_FALSE(DeleteCacheFile(cache.Text("none"), key, true, 0)) << "the other table's lock is free";
    }
    {
        const TNGFileLock pLock = GetFileLockForPath(path, false);
        const CTNGAutoMutexPtr hold(pLock.get(), true, 0, true);
        EXPECT_EQ(file.ReadBlock(path, key, 0, 10, buffer.data()), 1);
    }
    EXPECT_EQ(std::filesystem::file_size(cache / "1.db"), 100u);
    EXPECT_TRUE(CopyCacheFile(path, copy, key, true, false, 0));
    EXPECT_FALSE(CopyCacheFileNoLock(path, copy, true));
    EXPECT_TRUE(DeleteCacheFile(path, key, false, 0));
    EXPECT_FALSE(DeleteCacheFileNoLock(path));
    EXPECT_EQ(file.TouchFile(path), QXTNG_ERROR_FAILED);
    EXPECT_TRUE(cache.Has("2.db"));
}

}  // namespace

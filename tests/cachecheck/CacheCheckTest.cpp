#include "CacheCheck.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>
#include <functional>
#include <map>
#include <sstream>

#include "common/TNGTypes.h"
#include "store/StoreFixture.h"

namespace {

namespace fs = std::filesystem;
using CacheCheck::CacheReport;
using CacheCheck::CheckCache;
using TestSupport::ReadFile;
using TestSupport::TemporaryFolder;

const std::string kIndex = "DirectoryMap.dat";

void WriteAll(const fs::path& path, const std::string& content) {
    std::ofstream(path, std::ios::binary) << content;
}

std::string Bytes(std::int32_t number) {
    return {reinterpret_cast<const char*>(&number), sizeof number};
}

std::string Bytes(const std::u16string& text) {
    return {reinterpret_cast<const char*>(text.data()), text.size() * 2};
}

void Patch(const fs::path& file, std::size_t offset, const std::string& bytes) {
    WriteAll(file, ReadFile(file).replace(offset, bytes.size(), bytes));
}

// Puts one text in the place of another of the same length, once.
void Rename(const fs::path& file, const std::u16string& from, const std::u16string& to) {
    const std::size_t offset = ReadFile(file).find(Bytes(from));
    ASSERT_NE(offset, std::string::npos);
    Patch(file, offset, Bytes(to));
}

void Append(const fs::path& file, const std::string& bytes) {
    WriteAll(file, ReadFile(file) + bytes);
}

void ReplaceByPipe(const fs::path& file) {
    fs::remove(file);
    ASSERT_EQ(mkfifo(file.c_str(), 0600), 0);
}

/// "error 1.dat:118 list-truncated" and so on, in the order of the report.
std::string Describe(const CacheReport& report) {
    std::string text;
    for (const CacheCheck::Finding& finding : report.findings) {
        text.append(finding.severity == CacheCheck::Severity::Error ? "error " : "warning ");
        text.append(finding.file).append(":").append(std::to_string(finding.offset));
        text.append(" ").append(NameOf(finding.kind)).append("\n");
    }
    return text;
}

struct Damage {
    std::function<void(const fs::path& cache)> inflict;  // on a copy of the frozen cache of two folders
    std::string findings;
};

TEST(CacheCheck, FindsDamage) {
    // Of the index: where the record of the second folder and its number begin. Of the list of the first
    // folder: where its second record begins; behind that, its fields.
    constexpr std::size_t kSecondFolder = 68, kSecondNumber = 128;
    constexpr std::size_t kSecondRecord = 118, kTime = 62, kLargeOffset = 74, kSmallOffset = 82, kMark = 90,
                          kExtraLarge = 106;
    const std::string orphans = "warning 2.dat:0 orphan-list\nwarning 2.db:0 orphan-data\n";
    const std::string allOrphans = "warning 1.dat:0 orphan-list\nwarning 1.db:0 orphan-data\n" + orphans;
    const std::vector<Damage> cases = {
        {[](const fs::path& c) { fs::remove_all(c); }, "error :0 folder-unreadable\n"},
        {[](const fs::path& c) { fs::remove(c / kIndex); },
         "warning DirectoryMap.dat:0 index-missing\n" + allOrphans},
        {[](const fs::path& c) { ReplaceByPipe(c / kIndex); },
         "error DirectoryMap.dat:0 index-unreadable\n" + allOrphans +
             "warning DirectoryMap.dat:0 unknown-file\n"},
        {[](const fs::path& c) { Patch(c / kIndex, 0, Bytes(-2)); },
         "error DirectoryMap.dat:0 index-count-negative\n" + allOrphans},
        {[](const fs::path& c) { Append(c / kIndex, ReadFile(c / kIndex).substr(4)); },
         "warning DirectoryMap.dat:132 index-trailing\n"},
        {[](const fs::path& c) {
             Patch(c / kIndex, 0, Bytes(1));
             fs::remove(c / "2.dat");
             fs::remove(c / "2.db");
         },
         "warning DirectoryMap.dat:68 index-trailing\n"},
        {[](const fs::path& c) { Rename(c / kIndex, u"two", u"one"); },
         "error DirectoryMap.dat:68 folder-duplicate\n" + orphans},
        {[](const fs::path& c) {
             WriteAll(c / kIndex,
                      Bytes(2) + ReadFile(c / kIndex).substr(4, 64) + ReadFile(c / kIndex).substr(4, 64));
         },
         "warning DirectoryMap.dat:68 folder-duplicate\n" + orphans},
        {[](const fs::path& c) { Rename(c / kIndex, u"2.dat", u"9.dat"); },
         "error DirectoryMap.dat:68 folder-names\n" + orphans},
        {[](const fs::path& c) { Rename(c / kIndex, u"2.db", u"../x"); },
         "error DirectoryMap.dat:68 folder-names\n" + orphans},
        {[](const fs::path& c) { Patch(c / kIndex, kSecondNumber, Bytes(3)); },
         "error DirectoryMap.dat:68 folder-names\n"},
        {[](const fs::path& c) { Patch(c / kIndex, kSecondNumber, Bytes(10000)); },
         "error DirectoryMap.dat:68 folder-number-range\n"},
        {[](const fs::path& c) {
             Patch(c / kIndex, kSecondFolder, ReadFile(c / kIndex).substr(4, 64));
             Patch(c / kIndex, kSecondFolder + 8, Bytes(u"/pictures/two"));
         },
         "error DirectoryMap.dat:68 folder-number-twice\n" + orphans},
        {[](const fs::path& c) { ReplaceByPipe(c / "1.dat"); },
         "error 1.dat:0 list-unreadable\nwarning 1.dat:0 unknown-file\n"},
        {[](const fs::path& c) { Patch(c / "1.dat", 0, Bytes(-1)); }, "error 1.dat:0 list-count-negative\n"},
        {[](const fs::path& c) { Rename(c / "1.dat", u"/one/a", u"/two/a"); },
         "error 1.dat:4 record-folder\n"},
        {[](const fs::path& c) { Rename(c / "1.dat", u"/a.jpg", u"/a/jpg"); },
         "error 1.dat:4 record-folder\n"},
        {[](const fs::path& c) { Rename(c / "1.dat", u"/a.jpg", u"\\a.jpg"); },
         "error 1.dat:4 record-folder\n"},
        {[](const fs::path& c) {
             Rename(c / "1.dat", u"1.db", u"2.db");
             Patch(c / "1.dat", 4 + 46, Bytes(ASSET_TYPE_AUDIO));
         },
         "warning 1.dat:4 record-data-file\n"},
        {[](const fs::path& c) { Patch(c / "1.dat", kSecondRecord + kMark, "\x02"); },
         "warning 1.dat:118 record-mark\n"},
        {[](const fs::path& c) {
             Rename(c / "1.dat", u"b.jpg", u"a.jpg");
             Patch(c / "1.dat", kSecondRecord + kTime, Bytes(0) + Bytes(0));
         },
         "warning 1.dat:118 record-duplicate\n"},
        {[](const fs::path& c) {
             const std::string list = ReadFile(c / "1.dat");
             WriteAll(c / "1.dat", Bytes(2) + list.substr(kSecondRecord) + list.substr(4, 114));
             Rename(c / "1.dat", u"b.jpg", u"a.jpg");
             Patch(c / "1.dat", kSecondRecord + kTime, Bytes(0) + Bytes(0));
         },
         "error 1.dat:118 record-duplicate\n"},
        {[](const fs::path& c) { Patch(c / "1.dat", 4 + kSmallOffset + 4, Bytes(0)); },
         "error 1.dat:4 block-layout\n"},
        {[](const fs::path& c) { Patch(c / "1.dat", 4 + kExtraLarge, Bytes(-5) + Bytes(5)); },
         "error 1.dat:4 block-layout\n"},
        {[](const fs::path& c) { Patch(c / "1.dat", 4 + kSmallOffset, Bytes(14)); },
         "error 1.dat:4 block-layout\n"},
        {[](const fs::path& c) {
             Patch(c / "1.dat", kSecondRecord + kLargeOffset,
                   ReadFile(c / "1.dat").substr(4 + kLargeOffset, 16));
         },
         "error 1.db:0 block-overlap\n"},
        {[](const fs::path& c) { ReplaceByPipe(c / "1.db"); },
         "error 1.db:0 data-unreadable\nwarning 1.db:0 unknown-file\n"},
        {[](const fs::path& c) { fs::resize_file(c / "1.db", std::uintmax_t{1} << 31); },
         "warning 1.db:2147483647 data-too-large\n"},
        {[](const fs::path& c) {
             for (const char* name :
                  {"Temp0001A2B3.tmp", "07.dat", "10000.db", "notes", "CacheUpdateInfo.txt"})
                 WriteAll(c / name, "1234567");
             fs::create_directory(c / "folder");
         },
         "warning CacheUpdateInfo.txt:0 date-time-size\nwarning Temp0001A2B3.tmp:0 temporary-file\n"
         "warning 07.dat:0 unknown-file\nwarning 10000.db:0 unknown-file\nwarning folder:0 unknown-file\n"
         "warning notes:0 unknown-file\n"},
    };
    for (const Damage& damage : cases) {
        SCOPED_TRACE(damage.findings);
        const TemporaryFolder folder;
        fs::copy(fs::path(QXTNG_TEST_DATA) / "two-folders", folder / "cache");
        damage.inflict(folder / "cache");
        EXPECT_EQ(Describe(CheckCache(folder / "cache")), damage.findings);
    }
}

// Wherever a file ends too early, something is lost, and that is an error. The only harmless place is behind
// a whole record of the index.
TEST(CacheCheck, FindsEveryMissingByte) {
    const TemporaryFolder cache;
    fs::copy(fs::path(QXTNG_TEST_DATA) / "two-folders", cache.Path());
    for (const std::string name : {"DirectoryMap.dat", "1.dat", "1.db"}) {
        const std::string whole = ReadFile(cache / name);
        for (std::size_t size = whole.size(); size-- > 0;) {
            fs::resize_file(cache / name, size);
            const bool bHarmless = name == kIndex && (size == 4 || size == 68);
            EXPECT_EQ(CheckCache(cache.Path()).errors == 0, bHarmless) << name << " of " << size << " bytes";
        }
        WriteAll(cache / name, whole);
    }
}

/// The files of the worked example in the format document, by the names that they have there.
std::map<std::string, std::string> WorkedExample() {
    std::map<std::string, std::string> files;
    std::ifstream document(QXTNG_CACHE_FORMAT);
    const std::string opening = "```hex ";
    std::string* pFile = nullptr;
    for (std::string line; std::getline(document, line);) {
        if (line.starts_with(opening)) {
            pFile = &files[line.substr(opening.size())];
        } else if (line == "```") {
            pFile = nullptr;
        } else if (pFile) {
            std::istringstream text(line.substr(0, line.find('|')));
            std::size_t number = 0;
            text >> std::hex >> number;
            EXPECT_EQ(number, pFile->size()) << "offset of: " << line;
            while (text >> number)
                *pFile += static_cast<char>(number);
        }
    }
    return files;
}

std::unique_ptr<CTNGFileData> MakeRecord(const std::u16string& path, std::int32_t large, std::int32_t small) {
    auto pRecord = std::make_unique<CTNGFileData>();
    pRecord->m_strFilePath = path;
    pRecord->m_eFileType = ASSET_TYPE_IMAGE;
    pRecord->m_strDataFileName = u"1.db";
    pRecord->m_ftLastWrite = {0x54319000, 0x01DA9BAE};
    pRecord->m_nFileSize = 123456;
    SetThumbnailLocations(*pRecord, false, 0, false, 0, large, small);
    pRecord->m_bDeleted = 0;
    pRecord->m_nOriginalWidth = 3000;
    pRecord->m_nOriginalHeight = 2000;
    return pRecord;
}

void WriteExampleCache(std::unique_ptr<CTNGFolderMap> pFolderMap) {
    const std::uint8_t large[] = {'L', 'A', 'R', 'G', 'E', '.', '.', '.'};
    const std::uint8_t small[] = {'T', 'I', 'N', 'Y'};
    const std::u16string folder = s_strCacheFolder.Get() + u"/";
    CTNGDataFile file;
    EXPECT_EQ(file.AppendBlock(folder + u"1.db", 0, {}, {}, {large, 8}, {small, 4}), 0);
    CTNGFolderMapCollection collection;
    const std::u16string key = pFolderMap->m_strFolderPath;
    collection.AddItemByKey(pFolderMap.release(), key);
    EXPECT_EQ(collection.AppendThumbnails(u"DirectoryMap.dat"), QXTNG_SUCCESS);
    const Platform::FILETIME time{0x5752A620, 0x01DA9BAE};
    EXPECT_EQ(file.WriteDateTime(folder + u"CacheUpdateInfo.txt", &time), QXTNG_SUCCESS);
}

TEST(CacheFormat, WorkedExampleIsWhatTheStoreWrites) {
    const std::map<std::string, std::string> example = WorkedExample();
    ASSERT_EQ(example.size(), 6u);
    for (const bool bClassic : {false, true}) {
        const TemporaryFolder cache;
        s_strCacheFolder.Set(TestSupport::TextOf(cache.Path()));
        auto pFolderMap = StoreTest::NewFolder(bClassic ? u"C:\\P" : u"/P", 1);
        pFolderMap->FileDataList->AddItem(bClassic ? MakeRecord(u"C:\\a.jpg", 5000, 900)
                                                   : MakeRecord(u"/P/a.jpg", 8, 4));
        WriteExampleCache(std::move(pFolderMap));
        if (bClassic) {
            EXPECT_EQ(ReadFile(cache / kIndex), example.at("classic DirectoryMap.dat"));
            EXPECT_EQ(ReadFile(cache / "1.dat"), Bytes(1) + example.at("classic record"));
            continue;
        }
        for (const std::string name : {"DirectoryMap.dat", "1.dat", "1.db", "CacheUpdateInfo.txt"})
            EXPECT_EQ(ReadFile(cache / name), example.at(name)) << name;
        EXPECT_EQ(Describe(CheckCache(cache.Path())), "");
    }
    std::u16string name = u"/home/ann/.cache/thumbs_ThumbnailGenerator";
    CTNGFileInfo::GetHashCode(name, name);
    const std::string quoted = "`" + std::string(name.begin(), name.end()) + "`";
    EXPECT_NE(ReadFile(QXTNG_CACHE_FORMAT).find(quoted), std::string::npos) << "name of the lock";
}

}  // namespace

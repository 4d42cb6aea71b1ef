#include "common/TNGFileInfo.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <regex>
#include <set>

#include "common/TNGLog.h"
#include "platform/Text.h"
#include "platform/Time.h"
#include "support/LogCapture.h"
#include "support/TemporaryFolder.h"

namespace {

using TestSupport::TemporaryFolder;
using TestSupport::TextOf;

TEST(FileInfo, HashesTexts) {
    const struct {
        std::u16string text;
        std::uint32_t hash;
        std::u16string decimal;
    } cases[] = {
        {u"", 0, u"0"},
        {u"AB", 2211, u"2211"},
        {u"BA", 2243, u"2243"},
        {u"\uFFFF", 65535, u"65535"},
        {u"C:\\Cache\\1.dat", 3285555713, u"-1009411583"},
        {std::u16string(u"AB\0C", 4), 2211, u"2211"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(CTNGFileInfo::GetHashCode(c.text), c.hash);
        std::u16string text = c.text;
        CTNGFileInfo::GetHashCode(text, text);
        EXPECT_EQ(text, c.decimal);
    }
}

TEST(FileInfo, GivesTheFirstFreeNumber) {
    const TemporaryFolder folder;
    const std::u16string path = TextOf(folder.Path());
    const auto number = [&path] { return CTNGFileInfo::GetNewDBFilePathNumber(path); };
    EXPECT_EQ(number(), 1);
    folder.Add("1.dat"), folder.Add("3.dat"), folder.Add("2.db");
    EXPECT_EQ(number(), 2);
    std::filesystem::create_directory(folder / "2.dat");
    EXPECT_EQ(number(), 4);
    for (int i = 4; i < 9999; ++i)
        std::filesystem::create_hard_link(folder / "1.dat", folder / (std::to_string(i) + ".dat"));
    EXPECT_EQ(number(), 9999);
    folder.Add("9999.dat");
    TestSupport::LogCapture log;
    EXPECT_EQ(number(), 0) << "all are taken";
    EXPECT_EQ(log.Take(), std::vector<std::string>{"6 CTNGFileInfo::GetNewDBFilePathNumber:Number to string "
                                                   "conversion i.e. _itow_s failed!"});
}

TEST(FileInfo, FindsFilesAndFolders) {
    const TemporaryFolder folder;
    folder.Add("file");
    const struct {
        std::u16string path;
        bool bFile, bAnything;
        std::u16string name;
    } cases[] = {{TextOf(folder / "file"), true, true, u"file"},
                 {TextOf(folder.Path()), false, true, TextOf(folder.Path().filename())},
                 {TextOf(folder / "missing"), false, false, u""}};
    for (const auto& c : cases) {
        for (const bool bAllowDirectory : {false, true}) {
            Platform::WIN32_FIND_DATAW entry;
            entry.dwFileAttributes = 0xFFFFFFFF;
            const bool expected = bAllowDirectory ? c.bAnything : c.bFile;
            EXPECT_EQ(CTNGFileInfo::FindFileData(c.path.c_str(), &entry, bAllowDirectory), expected);
            EXPECT_EQ(CTNGFileInfo::FindFileData(c.path.c_str(), nullptr, bAllowDirectory), expected);
            EXPECT_EQ(std::u16string(entry.cFileName), c.name) << "filled even where the answer is no";
            EXPECT_EQ(entry.dwFileAttributes == 0, !c.bAnything) << "or zeroed";
        }
        Platform::FILETIME time{1, 2};
        EXPECT_EQ(CTNGFileInfo::GetFileLastWriteTime(c.path.c_str(), &time), c.bFile);
        EXPECT_EQ(time.dwHighDateTime == 2, !c.bFile) << "stays as it is";
        EXPECT_FALSE(CTNGFileInfo::GetFileLastWriteTime(c.path.c_str(), nullptr));
    }
    Platform::WIN32_FIND_DATAW untouched;
    untouched.dwFileAttributes = 77;
    EXPECT_FALSE(CTNGFileInfo::FindFileData(nullptr, &untouched, true));
    EXPECT_FALSE(CTNGFileInfo::FindFileData(u"", &untouched, true));
    EXPECT_EQ(untouched.dwFileAttributes, 77u);
    EXPECT_FALSE(CTNGFileInfo::GetFileLastWriteTime(nullptr, &untouched.ftLastWriteTime));
}

TEST(FileInfo, MakesUniqueTexts) {
    std::set<std::u16string> known;
    for (int i = 0; i < 100; ++i) {
        std::u16string text = u"before ";
        CTNGFileInfo::AppendUniqueString(text);
        EXPECT_TRUE(
            std::regex_match(Platform::PathToBytes(text), std::regex("before \\{([0-9A-F]{4}-?){8}\\}")));
        EXPECT_TRUE(known.insert(text).second);
    }
}

}  // namespace

#include "common/TNGFileInfo.h"

#include <gtest/gtest.h>

#include <regex>
#include <set>

#include "common/TNGCollectionBase2.h"
#include "common/TNGThreshold.h"
#include "platform/Text.h"
#include "support/TemporaryFolder.h"

namespace {

using TestSupport::TemporaryFolder;
using TestSupport::TextOf;

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
    EXPECT_EQ(number(), 0) << "all are taken";
}

TEST(Collection, ReplacesAndRemovesByKey) {
    CTNGCollectionBase2<std::u16string, int> collection;
    const auto pReplaced = std::make_unique<int>(1);
    collection.AddItemByKey(pReplaced.get(), u"a");
    collection.AddItemByKey(new int(2), u"a");
    EXPECT_EQ(*collection.FindItem(u"a"), 2);
    collection.RemoveItem(u"a");
    EXPECT_EQ(collection.FindItem(u"a"), nullptr);
}

TEST(Threshold, LooksAtTheLowHalfOfTheSize) {
    const struct {
        std::uint32_t nHigh, nLow;
        bool bLarge;
    } cases[] = {{0, 17u << 20, true}, {0, (17u << 20) - 1, false}, {5, 0, false}, {5, 0xFFFFFFFF, true}};
    for (const auto& c : cases) {
        Platform::WIN32_FIND_DATAW entry;
        entry.nFileSizeHigh = c.nHigh;
        entry.nFileSizeLow = c.nLow;
        EXPECT_EQ(IsLargeFile(entry), c.bLarge) << c.nHigh << ' ' << c.nLow;
    }
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

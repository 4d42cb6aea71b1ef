#include "platform/Files.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "support/TemporaryFolder.h"

namespace {

using namespace Platform;
using TestSupport::TemporaryFolder;
using TestSupport::TextOf;

bool Find(const std::u16string& path, WIN32_FIND_DATAW& entry) {
    const HANDLE hFind = FindFirstFileW(path.c_str(), &entry);
    return hFind != INVALID_HANDLE_VALUE && FindClose(hFind);
}

TEST(Files, TellWhatAPathNames) {
    const TemporaryFolder folder;
    folder.Add("plain.jpg");
    folder.Add("read-only.jpg");
    folder.Add("*.png");
    folder.Add("\xFF\xC3.jpg");
    const std::string longName(255, 'n');
    folder.Add(longName);
    chmod((folder / "read-only.jpg").c_str(), 0444);
    std::filesystem::create_directory(folder / "inner");
    std::filesystem::create_symlink("plain.jpg", folder / "link");
    std::filesystem::create_symlink("inner", folder / "folder link");
    std::filesystem::create_symlink("nowhere", folder / "dangling");
    mkfifo((folder / "pipe.jpg").c_str(), 0600);

    const struct {
        std::string name;
        std::uint32_t attributes;  // 0: there is nothing
    } cases[] = {
        {"plain.jpg", FILE_ATTRIBUTE_NORMAL},
        {"read-only.jpg", FILE_ATTRIBUTE_READONLY},
        {"*.png", FILE_ATTRIBUTE_NORMAL},
        {"\xFF\xC3.jpg", FILE_ATTRIBUTE_NORMAL},
        {longName, FILE_ATTRIBUTE_NORMAL},
        {"inner", FILE_ATTRIBUTE_DIRECTORY},
        {"link", FILE_ATTRIBUTE_NORMAL},
        {"folder link", FILE_ATTRIBUTE_DIRECTORY},
        {"pipe.jpg", FILE_ATTRIBUTE_NORMAL},
        {"dangling", 0},
        {"missing.jpg", 0},
        {"*.jpg", 0},
        {"plain?jpg", 0},
        {"plain.jpg/below", 0},
        {longName + "n", 0},
    };
    WIN32_FIND_DATAW entry;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const std::u16string path = TextOf(folder / c.name);
        EXPECT_EQ(Find(path, entry), c.attributes != 0);
        EXPECT_EQ(PathFileExistsW(path.c_str()), c.attributes != 0);
        if (c.attributes == 0) continue;
        EXPECT_EQ(entry.dwFileAttributes, c.attributes);
        EXPECT_EQ(std::u16string(entry.cFileName), TextOf(c.name));
    }
    EXPECT_TRUE(Find(TextOf(folder / "inner//"), entry));
    EXPECT_EQ(std::u16string(entry.cFileName), u"inner");
    EXPECT_FALSE(Find(u"", entry));
    EXPECT_FALSE(PathFileExistsW(u""));
}

TEST(Files, TellTimesAndSizes) {
    const TemporaryFolder folder;
    const std::u16string path = folder.Add("large.jpg");
    ASSERT_EQ(truncate((folder / "large.jpg").c_str(), (5LL << 32) + 0x89ABCDEF), 0);
    // July 2017, and the last second of 1969.
    const timespec times[] = {{1'500'000'000, 123'456'799}, {-1, 900}};
    ASSERT_EQ(utimensat(AT_FDCWD, (folder / "large.jpg").c_str(), times, 0), 0);

    WIN32_FIND_DATAW entry;
    ASSERT_TRUE(Find(path, entry));
    EXPECT_EQ(entry.nFileSizeHigh, 5u);
    EXPECT_EQ(entry.nFileSizeLow, 0x89ABCDEFu);
    const FILETIME accessed = FileTimeFromTimespec(times[0]);
    EXPECT_EQ(CompareFileTime(&entry.ftLastAccessTime, &accessed), 0);
    const FILETIME written = FileTimeFromTimespec(times[1]);
    EXPECT_EQ(CompareFileTime(&entry.ftLastWriteTime, &written), 0);
}

}  // namespace

#include "platform/FileOperations.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <set>
#include <string>

#include "platform/Drives.h"
#include "platform/Text.h"
#include "support/ResourceLimit.h"
#include "support/TemporaryFolder.h"

namespace fs = std::filesystem;

namespace {

using namespace Platform;
using TestSupport::TextOf;

const std::vector<std::uint8_t> kOld(300'000, 'o');
const std::vector<std::uint8_t> kNew(200'000, 'n');

std::size_t Entries(const fs::path& folder) {
    return static_cast<std::size_t>(std::distance(fs::directory_iterator(folder), {}));
}

bool Copy(const fs::path& from, const fs::path& to, bool bFailIfExists) {
    return CopyFileW(TextOf(from).c_str(), TextOf(to).c_str(), bFailIfExists);
}

TEST(FileOperations, DeletesFilesOnly) {
    const TestSupport::TemporaryFolder folder;
    folder.Add("file");
    fs::create_directory(folder / "folder");
    fs::create_symlink(folder / "file", folder / "link");
    EXPECT_TRUE(DeleteFileW(TextOf(folder / "link").c_str()));
    EXPECT_TRUE(fs::exists(folder / "file")) << "the link goes, not what it names";
    EXPECT_TRUE(DeleteFileW(TextOf(folder / "file").c_str()));
    for (const char* pszName : {"file", "folder", "", "none/file"})
        EXPECT_FALSE(DeleteFileW(TextOf(folder / pszName).c_str())) << pszName;
    EXPECT_TRUE(fs::exists(folder / "folder"));
}

TEST(FileOperations, CopiesWithTimesOrNotAtAll) {
    const TestSupport::TemporaryFolder folder;
    folder.Add("new", kNew);
    const auto time = fs::last_write_time(folder / "new") - std::chrono::hours(100);
    fs::last_write_time(folder / "new", time);
    fs::create_directory(folder / "folder");
    fs::create_symlink("/dev/null", folder / "device");
    ASSERT_EQ(mkfifo((folder / "pipe").c_str(), 0600), 0);
    const struct {
        const char* pszFrom;
        const char* pszTo;
        bool bFailIfExists;
        bool bExpected;
    } cases[] = {
        {"new", "none", true, true},     {"new", "old", false, true},     {"new", "old", true, false},
        {"none", "old", false, false},   {"folder", "old", false, false}, {"new", "folder", false, false},
        {"new", "no/such", true, false}, {"old", "old", false, false},    {"new", "pipe", false, false},
        {"new", "device", false, false}, {"pipe", "old", false, false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.pszFrom) + " to " + c.pszTo);
        folder.Add("old", kOld);
        fs::remove(folder / "none");
        EXPECT_EQ(Copy(folder / c.pszFrom, folder / c.pszTo, c.bFailIfExists), c.bExpected);
        if (c.bExpected) {
            EXPECT_EQ(fs::file_size(folder / c.pszTo), kNew.size()) << "nothing of a longer file is left";
            EXPECT_EQ(fs::last_write_time(folder / c.pszTo), time);
        } else {
            EXPECT_EQ(fs::file_size(folder / "old"), kOld.size()) << "what was there stays";
        }
    }
    EXPECT_TRUE(fs::is_fifo(folder / "pipe"));
    EXPECT_TRUE(fs::is_symlink(folder / "device"));
    fs::remove(folder / "none");
    const TestSupport::FileSizeLimit limit(kNew.size() / 2);
    EXPECT_FALSE(Copy(folder / "new", folder / "none", true));
    EXPECT_FALSE(fs::exists(folder / "none")) << "a part of a copy is no copy";
}

TEST(FileOperations, KnowsFilesByOtherNames) {
    const TestSupport::TemporaryFolder folder;
    folder.Add("a");
    folder.Add("b");
    fs::create_symlink(folder / "a", folder / "link");
    fs::create_hard_link(folder / "a", folder / "second name");
    fs::create_symlink("none", folder / "dangling");
    const struct {
        const char* pszFirst;
        const char* pszSecond;
        bool bExpected;
    } cases[] = {
        {"a", "a", true},     {"a", "link", true},      {"link", "second name", true},   {"", "./.", true},
        {"a", "b", false},    {"a", "", false},         {"dangling", "dangling", false}, {"none", "a", false},
        {"a", "none", false}, {"none", "none2", false},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(IsSameFile(TextOf(folder / c.pszFirst).c_str(), TextOf(folder / c.pszSecond).c_str()),
                  c.bExpected)
            << c.pszFirst << " and " << c.pszSecond;
    }
}

TEST(FileOperations, MakesTemporaryFiles) {
    const TestSupport::TemporaryFolder folder;
    char16_t path[MAX_PATH];
    std::set<std::u16string> paths;
    for (int i = 0; i < 50; ++i) {
        EXPECT_NE(GetTempFileNameW(TextOf(folder.Path()).c_str(), u"Temp", 0, path), 0u);
        const fs::path made = PathToBytes(path);
        EXPECT_TRUE(made.filename().native().starts_with("Temp"));
        EXPECT_EQ(made.parent_path(), folder.Path());
        EXPECT_EQ(fs::file_size(made), 0u);
        paths.insert(path);
    }
    EXPECT_EQ(paths.size(), 50u);
    EXPECT_EQ(Entries(folder.Path()), 50u);
    EXPECT_EQ(GetTempFileNameW(TextOf(folder / "none").c_str(), u"Temp", 0, path), 0u);
    EXPECT_EQ(path[0], u'\0');
}

TEST(Drives, AreJudgedByTheNearestFolder) {
    const TestSupport::TemporaryFolder folder;
    const std::string here = folder.Path();
    const TestSupport::CurrentFolder current(folder.Path());
    fs::create_symlink("loop", "loop");
    const struct {
        std::string path;
        std::uint32_t expected;
    } cases[] = {
        {"/", DRIVE_FIXED},          {"/proc", DRIVE_FIXED},
        {"/dev/shm", DRIVE_FIXED},   {here, DRIVE_FIXED},
        {here + "/", DRIVE_FIXED},   {here + "/none/none", DRIVE_FIXED},
        {"/none/none", DRIVE_FIXED}, {"", DRIVE_NO_ROOT_DIR},
        {"none", DRIVE_NO_ROOT_DIR}, {"none/none", DRIVE_NO_ROOT_DIR},
        {"loop", DRIVE_FIXED},  // it may be anything
    };
    for (const auto& c : cases)
        EXPECT_EQ(GetDriveTypeW(TextOf(c.path).c_str()), c.expected) << c.path;
}

}  // namespace

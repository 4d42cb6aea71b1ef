#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cerrno>
#include <string>

#include "platform/Files.h"
#include "platform/Streams.h"
#include "platform/Text.h"
#include "support/TemporaryFolder.h"

namespace fs = std::filesystem;

namespace {

using namespace Platform;
using TestSupport::TextOf;

std::FILE* Open(const fs::path& path, const char* pszMode) {
    std::FILE* pStream = nullptr;
    EXPECT_EQ(_wfopen_s(&pStream, TextOf(path).c_str(), pszMode), 0) << path << ' ' << pszMode;
    return pStream;
}

std::string Content(const fs::path& path) {
    std::FILE* pStream = Open(path, "rb");
    std::string text(100, '\0');
    text.resize(_fread_nolock(text.data(), 1, text.size(), pStream));
    EXPECT_TRUE(CloseStream(pStream));
    return text;
}

TEST(Stream, OpensInEveryMode) {
    const TestSupport::TemporaryFolder folder;
    fs::create_directory(folder / "folder");
    const struct {
        const char* pszName;
        const char* pszMode;
        int error;
        const char* pszAfter;  // what a file that held "old" holds after "new" was written
    } cases[] = {
        {"none", "rb", ENOENT, nullptr},   {"none", "r+b", ENOENT, nullptr},
        {"none/x", "wb", ENOENT, nullptr}, {"none/x", "a+b", ENOENT, nullptr},
        {"folder", "wb", EISDIR, nullptr}, {"folder", "r+b", EISDIR, nullptr},
        {"file", "wb", 0, "ne"},           {"file", "r+b", 0, "ned"},
        {"file", "a+b", 0, "oldne"},       {"new-w", "wb", 0, "ne"},
        {"new-a", "a+b", 0, "ne"},         {"na\xEFve \xE6\x98\xA5", "wb", 0, "ne"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.pszName) + ' ' + c.pszMode);
        folder.Add("file", std::vector<std::uint8_t>{'o', 'l', 'd'});
        std::FILE* pStream = stdin;
        EXPECT_EQ(_wfopen_s(&pStream, TextOf(folder / c.pszName).c_str(), c.pszMode), c.error);
        ASSERT_EQ(pStream == nullptr, c.error != 0);
        if (!pStream) continue;
        EXPECT_NE(fcntl(fileno(pStream), F_GETFD) & FD_CLOEXEC, 0) << "programs would inherit it";
        EXPECT_EQ(_fwrite_nolock("ne", 2, 1, pStream), 1u);
        EXPECT_TRUE(CloseStream(pStream));
        EXPECT_EQ(Content(folder / c.pszName), c.pszAfter);
    }
}

TEST(Stream, CountsTheBytesLeft) {
    const TestSupport::TemporaryFolder folder;
    folder.Add("file", std::vector<std::uint8_t>(10, 'x'));
    std::FILE* pStream = Open(folder / "file", "rb");
    char bytes[4];
    EXPECT_EQ(BytesLeft(pStream), 10);
    EXPECT_EQ(_fread_nolock(bytes, 4, 1, pStream), 1u);
    EXPECT_EQ(BytesLeft(pStream), 6);
    fs::resize_file(folder / "file", 2);
    EXPECT_EQ(BytesLeft(pStream), 0) << "the file has shrunk";
    EXPECT_TRUE(CloseStream(pStream));
}

// Whoever opens a pipe as a file waits for its other end.
TEST(Stream, OpensNothingButFiles) {
    const TestSupport::TemporaryFolder folder;
    ASSERT_EQ(mkfifo((folder / "pipe").c_str(), 0600), 0);
    for (const std::filesystem::path& path :
         {folder / "pipe", folder.Path(), std::filesystem::path("/dev/zero")}) {
        for (const char* pszMode : {"rb", "r+b", "a+b"}) {
            std::FILE* pStream = nullptr;
            EXPECT_EQ(_wfopen_s(&pStream, TestSupport::TextOf(path).c_str(), pszMode), EISDIR)
                << path << pszMode;
            EXPECT_EQ(pStream, nullptr);
        }
    }
}

// What was changed twice must not look as if it had been changed once.
TEST(Stream, GivesEachChangeATimeOfItsOwn) {
    const TestSupport::TemporaryFolder folder;
    const std::u16string path = folder.Add("file");
    FILETIME before;
    for (int i = 0; i < 100; ++i) {
        std::FILE* pStream = Open(folder / "file", i % 2 ? "r+b" : "a+b");
        _fwrite_nolock("x", 1, 1, pStream);
        EXPECT_TRUE(CloseStream(pStream));
        WIN32_FIND_DATAW entry;
        ASSERT_NE(FindFirstFileW(path.c_str(), &entry), INVALID_HANDLE_VALUE);
        ASSERT_EQ(CompareFileTime(&entry.ftLastWriteTime, &before), 1) << "change " << i;
        before = entry.ftLastWriteTime;
        CloseStream(Open(folder / "file", "rb"));
        ASSERT_NE(FindFirstFileW(path.c_str(), &entry), INVALID_HANDLE_VALUE);
        ASSERT_EQ(CompareFileTime(&entry.ftLastWriteTime, &before), 0) << "reading is no change";
    }
}

}  // namespace

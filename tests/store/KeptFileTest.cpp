#include "store/TNGKeptFile.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <functional>

#include "support/TemporaryFolder.h"

namespace {

namespace fs = std::filesystem;
using TestSupport::TemporaryFolder;

constexpr std::uint8_t kGone = 0;

std::u16string Write(const TemporaryFolder& space, const char* pszName, std::uint8_t content) {
    return space.Add(pszName, std::span(&content, 1));
}

// What happens to a file that says "a" between two readings, and what each check lets the second one find.
const struct {
    const char* pszName;
    std::function<void(const TemporaryFolder&)> change;
    std::uint8_t inPlace;
    std::uint8_t named;
} kChanges[] = {
    {"nothing", [](const TemporaryFolder&) {}, 'a', 'a'},
    {"written over in place", [](const TemporaryFolder& space) { Write(space, "in/file", 'b'); }, 'b', 'b'},
    {"deleted", [](const TemporaryFolder& space) { fs::remove(space / "in/file"); }, kGone, kGone},
    {"deleted and made anew",
     [](const TemporaryFolder& space) {
         fs::remove(space / "in/file");
         Write(space, "in/file", 'b');
     },
     'b', 'b'},
    {"another put in its place",
     [](const TemporaryFolder& space) {
         Write(space, "other", 'b');
         fs::rename(space / "other", space / "in/file");
     },
     'b', 'b'},
    {"the same, and it has a second name",
     [](const TemporaryFolder& space) {
         fs::create_hard_link(space / "in/file", space / "copy");
         Write(space, "other", 'b');
         fs::rename(space / "other", space / "in/file");
     },
     'b', 'a'},
    {"its folder renamed", [](const TemporaryFolder& space) { fs::rename(space / "in", space / "out"); },
     kGone, 'a'},
    {"another folder put in its place",
     [](const TemporaryFolder& space) {
         fs::rename(space / "in", space / "out");
         fs::create_directory(space / "in");
         Write(space, "in/file", 'b');
     },
     'b', 'a'},
};

std::uint8_t Read(TNGKeptFile& kept, const std::u16string& path) {
    int error = 0;
    const std::shared_ptr<const Platform::PlainFile> pFile = kept.Open(path, &error);
    std::uint8_t byte = kGone;
    EXPECT_EQ(error, pFile ? 0 : ENOENT);
    return pFile && pFile->ReadAt(0, &byte, 1) ? byte : kGone;
}

TEST(KeptFile, NoticesWhatItsCheckIsFor) {
    for (const auto& change : kChanges) {
        for (const bool bInPlace : {true, false}) {
            SCOPED_TRACE(testing::Message() << change.pszName << (bInPlace ? ", in place" : ", named"));
            const TemporaryFolder space;
            fs::create_directory(space / "in");
            const std::u16string path = Write(space, "in/file", 'a');
            const std::u16string another = Write(space, "another", 'c');
            TNGKeptFile kept(bInPlace ? &Platform::PlainFile::IsInPlace : &Platform::PlainFile::HasName);
            EXPECT_EQ(Read(kept, path), 'a');
            change.change(space);
            EXPECT_EQ(Read(kept, path), bInPlace ? change.inPlace : change.named);
            EXPECT_EQ(Read(kept, another), 'c');
            kept.Close();
        }
    }
}

}  // namespace

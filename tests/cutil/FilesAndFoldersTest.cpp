#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "common/TNGTypes.h"
#include "cutil/AssetType.h"
#include "cutil/Folders.h"
#include "support/TemporaryFolder.h"

namespace {

using namespace QxzCUtil;
using TestSupport::TextOf;

TEST(AssetType, GoesByTheExtension) {
    const struct {
        std::uint32_t eType;
        std::vector<const char16_t*> paths;
    } cases[] = {
        {ASSET_TYPE_IMAGE,
         {u"/a/b.jpg", u"b.JpEg", u"/a/b.PNG", u"/a/b.tar.tiff", u"/a/b.mp3.webp", u"/a.mp3/b.bmp"}},
        {ASSET_TYPE_AUDIO, {u"/a/b.wav", u"/a/b.FLAC"}},
        {ASSET_TYPE_VIDEO, {u"/a/b.mp4", u"/a/b.3gp"}},
        {ASSET_TYPE_UNKNOWN,
         {u"/a/b.txt", u"/a/b", u"/a.jpg/b", u"/a/b.", u"/a/b.jpg.", u"/a/b.jp", u"/a/b.jpgx", u"/a/b.jpg/",
          u"", u"/a/b.g\u0131f"}},
    };
    for (const auto& c : cases) {
        for (const char16_t* pszPath : c.paths)
            EXPECT_EQ(GetAssetType(pszPath), c.eType) << std::filesystem::path(pszPath);
    }
}

// The path that a call gives, and the result before it.
template <typename Call>
std::u16string Found(int expected, Call call) {
    char16_t* pszPath = nullptr;
    EXPECT_EQ(call(&pszPath), expected);
    const std::u16string path = pszPath ? pszPath : u"(none)";
    QXDealloc(pszPath);
    return path;
}

std::u16string Locate(int expected, const char16_t* pszKey, const char16_t* pszName) {
    return Found(expected, [=](char16_t** ppszPath) { return LocateFile(pszKey, pszName, ppszPath); });
}

TEST(Folders, AreSearchedInOrder) {
    const TestSupport::TemporaryFolder folder;
    const std::u16string inFirst = folder.Add("first/qxtng/both.png");
    folder.Add("second/qxtng/both.png");
    const std::u16string inSecond = folder.Add("second/qxtng/only \xFF second.png");
    folder.Add("relative/qxtng/hidden.png");
    const TestSupport::CurrentFolder current(folder.Path());
    const std::string dirs = "relative::" + (folder / "first").native() + ":" + (folder / "second").native();
    setenv("XDG_DATA_DIRS", dirs.c_str(), 1);

    const int notFound = 1;
    const char16_t* const pszKey = u"CommonGraphicsDir";
    EXPECT_EQ(Locate(kFileFound, pszKey, u"/both.png"), inFirst);
    EXPECT_EQ(Locate(kFileFound, pszKey, u"/only \xDCFF second.png"), inSecond);
    EXPECT_EQ(Locate(notFound, pszKey, u"/hidden.png"), u"(none)");
    EXPECT_EQ(Locate(notFound, pszKey, u"/missing.png"), u"(none)");
    EXPECT_EQ(Locate(notFound, u"MyBinDir", u"/both.png"), u"(none)");
    setenv("XDG_DATA_DIRS", ":", 1);
    EXPECT_EQ(Locate(notFound, pszKey, u"/both.png"), u"(none)");
    unsetenv("XDG_DATA_DIRS");
    EXPECT_EQ(Locate(notFound, pszKey, u"/both.png"), u"(none)");
}

TEST(Folders, KnowWhereTheCallerIs) {
    const auto retrieve = [](const char16_t* pszKey) {
        return [pszKey](char16_t** ppszPath) { return RetrievePath(pszKey, ppszPath, 0); };
    };
    const auto own = std::filesystem::read_symlink("/proc/self/exe").parent_path();
    EXPECT_EQ(Found(0, retrieve(u"MyBinDir")), TextOf(own));
    EXPECT_EQ(Found(1, retrieve(u"CommonGraphicsDir")), u"(none)");
}

}  // namespace

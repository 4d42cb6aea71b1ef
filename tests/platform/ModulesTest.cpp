#include "platform/Modules.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include "support/TemporaryFolder.h"

namespace {

using namespace Platform;
namespace fs = std::filesystem;

const fs::path kOwnFolder = fs::read_symlink("/proc/self/exe").parent_path();

// libTestModule.so, which exports GetAnswer(), stands beside this program.
TEST(Modules, AreFoundBesideTheCallerAndNeverInTheCurrentFolder) {
    const TestSupport::TemporaryFolder folder;
    fs::copy(kOwnFolder / "libTestModule.so", folder / "libTestModule.so");
    fs::copy(kOwnFolder / "libTestModule.so", folder / "libDecoy.so");
    fs::create_directory(folder / "libsub");
    fs::copy(kOwnFolder / "libTestModule.so", folder / "libsub/Decoy.so");
    const TestSupport::CurrentFolder current(folder.Path());

    const HMODULE hModule = LoadLibraryW(u"TestModule.dll");
    ASSERT_NE(hModule, nullptr);
    void* pAnswer = GetProcAddress(hModule, "GetAnswer");
    ASSERT_NE(pAnswer, nullptr);
    EXPECT_EQ(reinterpret_cast<int (*)()>(pAnswer)(), 42);
    EXPECT_EQ(GetModuleFolder(pAnswer), TestSupport::TextOf(kOwnFolder));
    EXPECT_EQ(GetProcAddress(hModule, "GetQuestion"), nullptr);
    EXPECT_TRUE(FreeLibrary(hModule));

    for (const char16_t* pszName : {u"Decoy.dll", u"sub/Decoy.dll", u"Decoy", u"Missing.dll", u"", u".dll"})
        EXPECT_EQ(LoadLibraryW(pszName), nullptr) << fs::path(pszName);
}

TEST(Modules, AreFoundByTheOrdinarySearch) {
    const HMODULE hModule = LoadLibraryW(u"jpeg.dll");
    ASSERT_NE(hModule, nullptr);
    EXPECT_NE(GetProcAddress(hModule, "jpeg_std_error"), nullptr);
    EXPECT_TRUE(FreeLibrary(hModule));
}

TEST(Modules, KnowTheFolderOfAPieceOfCode) {
    EXPECT_EQ(GetModuleFolder(reinterpret_cast<const void*>(&TestSupport::TextOf)),
              TestSupport::TextOf(kOwnFolder));
    EXPECT_EQ(GetModuleFolder(nullptr), u"");
}

}  // namespace

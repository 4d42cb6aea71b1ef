#include <dlfcn.h>
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <memory>
#include <string>

#include "common/TNGTypes.h"
#include "platform/graphics/Image.h"
#include "support/LogCapture.h"
#include "support/PictureWriter.h"
#include "support/TemporaryFolder.h"

namespace {

using namespace TestSupport;
namespace fs = std::filesystem;

// A thumbnail library of its own in a folder, with the default image, yet without the image library.
class Installation {
  public:
    Installation() {
        fs::copy(QXTNG_LIBRARY_FOLDER "/libqxzthbg2.so", m_folder.Path());
        fs::copy(QXTNG_LIBRARY_FOLDER "/Resources", m_folder / "Resources");
        Open();
    }
    ~Installation() { Close(); }

    void AddImageLibrary(const fs::path& library) const {
        fs::copy(library, m_folder / "libQxzIml03.so", fs::copy_options::overwrite_existing);
    }

    void Open() { m_hLibrary = dlopen((m_folder / "libqxzthbg2.so").c_str(), RTLD_NOW | RTLD_LOCAL); }
    void Close() {
        if (m_hLibrary) dlclose(m_hLibrary);
        m_hLibrary = nullptr;
    }

    std::uint32_t MakeThumbnail(TNGSize box = {160, 160}) const {
        using Function = std::uint32_t (*)(const char16_t*, TNGSize, int, Gdiplus::Image**, int*, int*);
        const auto pfn =
            reinterpret_cast<Function>(dlsym(m_hLibrary, "QXGenerateThumbnailImageInForeGround"));
        if (!pfn) return ~0u;
        Gdiplus::Image* pImage = nullptr;
        int eOrigin = -1;
        int bDefault = -1;
        const std::uint32_t result = pfn(m_picture.c_str(), box, 0, &pImage, &eOrigin, &bDefault);
        const std::unique_ptr<Gdiplus::Image> owner(pImage);
        EXPECT_EQ(pImage != nullptr, result == QXTNG_SUCCESS);
        EXPECT_EQ(bDefault, result == QXTNG_SUCCESS ? 0 : 1);
        return result;
    }

    // Whether the process has anything of this folder in its memory.
    bool IsMapped() const {
        std::ifstream file("/proc/self/maps");
        const std::string maps((std::istreambuf_iterator<char>(file)), {});
        return maps.find(m_folder.Path().native()) != std::string::npos;
    }

  private:
    TemporaryFolder m_folder;
    std::u16string m_picture = m_folder.Add("picture.jpg", MakeJpeg(SmoothPattern(300, 200)));
    void* m_hLibrary = nullptr;
};

TEST(LibraryPresence, AnImageLibraryThatComesLaterIsTaken) {
    for (const bool bIncomplete : {false, true}) {
        const Installation installation;
        if (bIncomplete) installation.AddImageLibrary(QXTNG_INCOMPLETE_IMAGE_LIBRARY);
        for (int i = 0; i < 2; ++i) {
            LogCapture log;
            EXPECT_EQ(installation.MakeThumbnail(), QXTNG_ERROR_PRODUCTION_FAILED);
            EXPECT_TRUE(log.Has("6 Thumbnail Producer initilisation failed"));
        }
        installation.AddImageLibrary(QXTNG_LIBRARY_FOLDER "/libQxzIml03.so");
        EXPECT_EQ(installation.MakeThumbnail(), QXTNG_SUCCESS);
    }
}

TEST(LibraryPresence, NothingStaysOfALibraryThatIsUnloaded) {
    Installation installation;
    installation.AddImageLibrary(QXTNG_LIBRARY_FOLDER "/libQxzIml03.so");
    for (int i = 0; i < 10; ++i) {
        // The first round unloads a library that was never used.
        EXPECT_EQ(i > 0 ? installation.MakeThumbnail() : 0u, QXTNG_SUCCESS);
        EXPECT_TRUE(installation.IsMapped());
        installation.Close();
        EXPECT_FALSE(installation.IsMapped());
        installation.Open();
    }
}

}  // namespace

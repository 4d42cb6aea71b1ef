#include <dlfcn.h>
#include <gtest/gtest.h>
#include <malloc.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "CacheCheck.h"
#include "common/TNGTypes.h"
#include "locks/Outsider.h"
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

    template <typename... Arguments>
    std::uint32_t Call(const char* pszExport, Arguments... arguments) const {
        const auto pfn = reinterpret_cast<std::uint32_t (*)(Arguments...)>(dlsym(m_hLibrary, pszExport));
        return pfn ? pfn(arguments...) : ~0u;
    }

    std::uint32_t MakeThumbnail(TNGSize box = {160, 160}) const {
        Gdiplus::Image* pImage = nullptr;
        int eOrigin = -1;
        int bDefault = -1;
        const std::uint32_t result = Call("QXGenerateThumbnailImageInForeGround", m_picture.c_str(), box, 0,
                                          &pImage, &eOrigin, &bDefault);
        const std::unique_ptr<Gdiplus::Image> owner(pImage);
        EXPECT_EQ(pImage != nullptr, result == QXTNG_SUCCESS);
        EXPECT_EQ(bDefault, result == QXTNG_SUCCESS ? 0 : 1);
        return result;
    }

    // A request whose thumbnail is of no interest: the callback asks for another one, on a new thread if it
    // has to.
    class Chain : public TNGBackgroundContext {
      public:
        Chain() : TNGBackgroundContext{} {}  // without a record there is nothing to release

        std::uint32_t Begin(const Installation& installation, bool bJpeg) {
            m_pfnFile =
                reinterpret_cast<Function>(dlsym(installation.m_hLibrary, "QXGenerateThumbnailInBackGround"));
            m_pszPath = (bJpeg ? installation.m_picture : installation.m_slowPicture).c_str();
            return File();
        }

        unsigned nThreadId = 0;

      private:
        using Function = std::uint32_t (*)(const char16_t*, TNGSize, int, int, TNGThumbnailCallback,
                                           TNGBackgroundContext*, unsigned*);
        std::uint32_t File() {
            return m_pfnFile(m_pszPath, {160, 160}, 0, 0, &Chain::GoOn, this, &nThreadId);
        }
        static void GoOn(TNGBackgroundContext* pContext) {
            Chain& chain = static_cast<Chain&>(*pContext);
            if (chain.File() != QXTNG_ERROR_THREAD_NOT_FOUND) return;
            chain.nThreadId = 0;
            chain.File();
        }

        Function m_pfnFile = nullptr;
        const char16_t* m_pszPath = nullptr;
    };

    // Whether the process has anything of this folder in its memory.
    bool IsMapped() const {
        std::ifstream file("/proc/self/maps");
        const std::string maps((std::istreambuf_iterator<char>(file)), {});
        return maps.find(m_folder.Path().native()) != std::string::npos;
    }

  private:
    TemporaryFolder m_folder;
    std::u16string m_picture = m_folder.Add("picture.jpg", MakeJpeg(SmoothPattern(300, 200)));
    std::u16string m_slowPicture = m_folder.Add("slow.png", MakePng(Raster(2500, 2500, 3)));
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

// A cache folder that a library gets to work with, and what shows whether it has let go of it.
class CacheInUse {
  public:
    CacheInUse() { fs::copy(QXTNG_TEST_DATA "/two-folders", m_folder.Path()); }

    void Use(const Installation& installation) const {
        EXPECT_EQ(installation.Call("SetCacheFolder", m_text.c_str()), QXTNG_SUCCESS);
        EXPECT_EQ(installation.Call("SetCacheEnabled", 1), QXTNG_SUCCESS);
        EXPECT_EQ(installation.Call("InitDB"), QXTNG_SUCCESS);
        EXPECT_EQ(installation.Call("LockCache"), QXTNG_SUCCESS);
        EXPECT_FALSE(IsFree());
    }

    bool IsFree() const { return m_outsider.CanEnter(); }
    bool IsWhole() const { return CacheCheck::CheckCache(m_folder.Path()).findings.empty(); }

  private:
    TemporaryFolder m_folder;
    std::u16string m_text = TextOf(m_folder.Path());
    Outsider m_outsider{QXTNG_LOCK_PLAYER, m_text};
};

std::ptrdiff_t EntriesOf(const char* pszFolder) {
    return std::distance(fs::directory_iterator(pszFolder), {});
}

TEST(LibraryPresence, NothingStaysOfALibraryThatIsUnloaded) {
    Installation installation;
    installation.AddImageLibrary(QXTNG_LIBRARY_FOLDER "/libQxzIml03.so");
    const CacheInUse cache;
    std::ptrdiff_t nDescriptors = 0, nThreads = 0;
    std::size_t nBytes = 0;
    constexpr int kRounds = 40, kWarm = 8;
    for (int i = 0; i < kRounds; ++i) {
        // The first rounds unload a library that was never used, and one without a cache.
        EXPECT_EQ(i > 0 ? installation.MakeThumbnail() : 0u, QXTNG_SUCCESS);
        if (i > 1) {
            cache.Use(installation);
            EXPECT_EQ(installation.Call("RefreshDBInSysFileCache"), QXTNG_SUCCESS);
        }
        EXPECT_TRUE(installation.IsMapped());
        installation.Close();
        EXPECT_FALSE(installation.IsMapped());
        EXPECT_TRUE(cache.IsFree());
        if (i == kWarm) {
            nDescriptors = EntriesOf("/proc/self/fd");
            nThreads = EntriesOf("/proc/self/task");
            nBytes = mallinfo2().uordblks;
        }
        installation.Open();
    }
    installation.Close();
    EXPECT_EQ(EntriesOf("/proc/self/fd"), nDescriptors);
    EXPECT_EQ(EntriesOf("/proc/self/task"), nThreads);
    EXPECT_LT(mallinfo2().uordblks, nBytes + 100 * (kRounds - kWarm)) << "memory grows with each round";
    EXPECT_TRUE(cache.IsWhole());
}

TEST(LibraryPresence, AProcessThatEndsFreesItsOwnHoldOnly) {
    testing::FLAGS_gtest_death_test_style = "fast";
    const Installation installation;
    const CacheInUse cache;
    EXPECT_EXIT((cache.Use(installation), std::exit(HasFailure())), testing::ExitedWithCode(0), "");
    EXPECT_TRUE(cache.IsFree());
    EXPECT_TRUE(cache.IsWhole());
    cache.Use(installation);
    EXPECT_EXIT(std::exit(0), testing::ExitedWithCode(0), "");
    EXPECT_FALSE(cache.IsFree()) << "a child took its parent's hold with it";
    EXPECT_EQ(installation.Call("InitDB"), QXTNG_SUCCESS);
    EXPECT_EQ(installation.Call("ReleaseCacheLock"), QXTNG_SUCCESS);
    EXPECT_TRUE(cache.IsFree());
    EXPECT_EQ(installation.Call("ShutDown"), QXTNG_SUCCESS);
    EXPECT_TRUE(cache.IsWhole());
}

// Workers that are busy, idle, or stopped and not yet gone: none of them runs on without its code.
TEST(LibraryPresence, WorkersAreGoneWhenTheLibraryIs) {
    Installation installation;  // in the first rounds without an image library, which workers look for
    std::vector<std::ptrdiff_t> threads;  // left after each round
    for (int i = 0; i < 16; ++i) {
        if (i == 8) installation.AddImageLibrary(QXTNG_LIBRARY_FOLDER "/libQxzIml03.so");
        Installation::Chain chains[4];
        for (Installation::Chain& chain : chains) {
            EXPECT_EQ(chain.Begin(installation, &chain != chains), QXTNG_SUCCESS);
            if (i % 2 == 1 && &chain == chains) {
                EXPECT_EQ(installation.Call("QXStopBackGroundThread", chain.nThreadId), QXTNG_SUCCESS);
            }
        }
        installation.Close();
        EXPECT_FALSE(installation.IsMapped());
        threads.push_back(EntriesOf("/proc/self/task"));
        installation.Open();
    }
    EXPECT_EQ(threads, std::vector(threads.size(), threads[0]));
}

}  // namespace

#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "api/QxTng.h"
#include "platform/Memory.h"
#include "support/TemporaryFolder.h"

namespace {

using namespace TestSupport;

constexpr TNGSize kBox{160, 160};

// What the calls below pass and receive.
struct Arguments {
    TemporaryFolder folder;
    const std::u16string file = folder.Add("file.jpg");
    const std::u16string folderPath = TextOf(folder.Path());
    const std::u16string missing = TextOf(folder / "missing.jpg");
    const char16_t* pszFile = file.c_str();
    const char16_t* pszFolder = folderPath.c_str();
    const char16_t* pszMissing = missing.c_str();
    Gdiplus::Image* pImage = nullptr;
    unsigned char* pBuffer = nullptr;
    long nLength = 77;
    TNGSize size{0, 0};
    int eOrigin = -1;
    int nAnswer = -1;
    unsigned nNumber = 0;
    TNGThumbnailResult record{};
    TNGBackgroundContext context{&record};
};

// With the defaults in place.
TEST(Exports, RefuseNullPointersAtTheDoor) {
    enum { Path, Result, Size, Origin, Default, Count };
    for (int missing = 0; missing < Count; ++missing) {
        SCOPED_TRACE(testing::Message() << "null: " << missing);
        const auto give = [missing](int i, auto* p) { return missing == i ? nullptr : p; };
        const auto expect = [&](bool bCleared, const Arguments& a) {
            EXPECT_EQ(bCleared, missing != Result);
            EXPECT_EQ(a.nAnswer, missing == Default ? -1 : 1);
            EXPECT_EQ(a.eOrigin, -1);
        };
        Arguments image, compressed, argb;
        int marker = 0;
        image.pImage = reinterpret_cast<Gdiplus::Image*>(&marker);
        compressed.pBuffer = argb.pBuffer = reinterpret_cast<unsigned char*>(&marker);
        argb.size = {7, 8};
        if (missing != Size) {
            EXPECT_EQ(QXGenerateThumbnailImageInForeGround(
                          give(Path, image.pszFile), kBox, 0, give(Result, &image.pImage),
                          give(Origin, &image.eOrigin), give(Default, &image.nAnswer)),
                      QXTNG_ERROR_INVALID_ARGUMENT);
            expect(!image.pImage, image);
        }
        EXPECT_EQ(QXGenerateThumbnailCompressedBufferInForeGround(
                      give(Path, argb.pszFile), kBox, 0, give(Result, &compressed.pBuffer),
                      give(Size, &compressed.nLength), give(Origin, &compressed.eOrigin),
                      give(Default, &compressed.nAnswer)),
                  QXTNG_ERROR_INVALID_ARGUMENT);
        expect(!compressed.pBuffer, compressed);
        EXPECT_EQ(compressed.nLength, missing == Size ? 77 : 0);
        EXPECT_EQ(QXGenerateThumbnailARBGInForeGround(
                      give(Path, argb.pszFile), kBox, 0, give(Result, &argb.pBuffer), give(Size, &argb.size),
                      give(Origin, &argb.eOrigin), give(Default, &argb.nAnswer)),
                  QXTNG_ERROR_INVALID_ARGUMENT);
        expect(!argb.pBuffer, argb);
        EXPECT_EQ(argb.size.nHeight, missing == Size ? 8u : 0u);
        if (missing > Size) continue;
        EXPECT_EQ(QXGenerateThumbnailInBackGround(give(Path, argb.pszFile), kBox, 0, 0, nullptr,
                                                  give(Result, &argb.context), give(Size, &argb.nNumber)),
                  QXTNG_ERROR_INVALID_ARGUMENT);
    }
    EXPECT_EQ(GetCacheEnabled(nullptr), QXTNG_ERROR_INVALID_ARGUMENT);
    EXPECT_EQ(GetCacheFolder(nullptr), QXTNG_ERROR_INVALID_ARGUMENT);
    EXPECT_EQ(SetCacheFolder(nullptr), QXTNG_ERROR_INVALID_ARGUMENT);
}

struct ExportCall {
    const char* pszName;
    std::function<std::uint32_t(Arguments&)> call;
    std::uint32_t expected;
    int answer = -1;  // what is left in Arguments::nAnswer
};

#define CALL(name, ...) #name, [](Arguments & a) { return (static_cast<void>(a), name(__VA_ARGS__)); }

TEST(Exports, RefuseWhatCannotBeDone) {
    const ExportCall calls[] = {
        {CALL(QXGenerateThumbnailImageInForeGround, a.pszFolder, kBox, 0, &a.pImage, &a.eOrigin, &a.nAnswer),
         QXTNG_ERROR_INVALID_ARGUMENT, 1},
        {CALL(QXGenerateThumbnailCompressedBufferInForeGround, a.pszMissing, kBox, 0, &a.pBuffer, &a.nLength,
              &a.eOrigin, &a.nAnswer),
         QXTNG_ERROR_INVALID_ARGUMENT, 1},
        {CALL(QXGenerateThumbnailARBGInForeGround, a.pszFile, {0, 160}, 0, &a.pBuffer, &a.size, &a.eOrigin,
              &a.nAnswer),
         QXTNG_ERROR_INVALID_ARGUMENT, 1},
        {CALL(QXGenerateThumbnailARBGInForeGround, u"", kBox, 0, &a.pBuffer, &a.size, &a.eOrigin, &a.nAnswer),
         QXTNG_ERROR_INVALID_ARGUMENT, 1},
        {CALL(GetCacheEnabled, &a.nAnswer), QXTNG_SUCCESS, 0},
        {CALL(SetCacheFolder, a.pszMissing), QXTNG_ERROR_INVALID_ARGUMENT},
        {CALL(SetCacheFolder, u""), QXTNG_ERROR_INVALID_ARGUMENT},
        {CALL(GetThresholdFileSize, nullptr), QXTNG_ERROR_INVALID_ARGUMENT},
        {CALL(SetThresholdFileSize, 0), QXTNG_ERROR_INVALID_ARGUMENT},
        {CALL(InitDBFolder, nullptr), QXTNG_ERROR_INVALID_ARGUMENT},
        {CALL(InitDBFolder, a.pszMissing), QXTNG_ERROR_INVALID_ARGUMENT},
        {CALL(InitDBFolder, a.pszFolder), QXTNG_ERROR_CACHE_DISABLED},
        {CALL(IsFileCached, nullptr, &a.nAnswer), QXTNG_ERROR_INVALID_ARGUMENT, 0},
        {CALL(IsFileCached, a.pszFile, nullptr), QXTNG_ERROR_INVALID_ARGUMENT},
        {CALL(IsFileCached, a.pszMissing, &a.nAnswer), QXTNG_ERROR_CACHE_DISABLED, 0},
        {CALL(IsCachedThumbnailUpToDate, nullptr, &a.nAnswer), QXTNG_ERROR_INVALID_ARGUMENT, 0},
        {CALL(IsCachedThumbnailUpToDate, a.pszMissing, &a.nAnswer), QXTNG_ERROR_INVALID_ARGUMENT, 0},
        {CALL(IsCachedThumbnailUpToDate, a.pszFile, nullptr), QXTNG_ERROR_INVALID_ARGUMENT},
        {CALL(DeleteThumbnail, nullptr), QXTNG_ERROR_INVALID_ARGUMENT},
        {CALL(DeleteFolder, nullptr), QXTNG_ERROR_INVALID_ARGUMENT},
        {CALL(GetSizeOriginal, nullptr, &a.size), QXTNG_ERROR_INVALID_ARGUMENT},
        {CALL(GetSizeOriginal, a.pszFile, nullptr), QXTNG_ERROR_INVALID_ARGUMENT},
        {CALL(GetSizeOriginal, a.pszMissing, &a.size), QXTNG_ERROR_INVALID_ARGUMENT},
        {CALL(GetSizeOriginal, a.pszFolder, &a.size), QXTNG_ERROR_UNSUPPORTED_FILE},
        {CALL(GetSizeOriginal, a.pszFile, &a.size), QXTNG_ERROR_PRODUCTION_FAILED},  // an empty file
        {CALL(UpdateFileInfo, nullptr), QXTNG_ERROR_INVALID_ARGUMENT},
        {CALL(UpdateFileInfo, a.pszMissing), QXTNG_ERROR_INVALID_ARGUMENT},
        {CALL(UpdateThumbnail, nullptr), QXTNG_ERROR_INVALID_ARGUMENT},
        {CALL(UpdateThumbnail, a.pszMissing), QXTNG_ERROR_INVALID_ARGUMENT},
        {CALL(UpdateFolder, nullptr), QXTNG_ERROR_INVALID_ARGUMENT},
        {CALL(UpdateFolder, a.pszMissing), QXTNG_ERROR_INVALID_ARGUMENT},
        // The cache is off, and there is no folder of it yet.
        {CALL(InitDB, ), QXTNG_ERROR_CACHE_LOCKED},
        {CALL(LockCache, ), QXTNG_ERROR_CACHE_LOCKED},
        {CALL(ReleaseCacheLock, ), QXTNG_ERROR_CACHE_LOCKED},
        {CALL(RefreshDBInSysFileCache, ), QXTNG_ERROR_CACHE_DISABLED},
        {CALL(QXGenerateThumbnailInBackGround, a.pszMissing, kBox, 0, 0, nullptr, &a.context, &a.nNumber),
         QXTNG_ERROR_INVALID_ARGUMENT},
        {CALL(QXGenerateThumbnailInBackGround, a.pszFile, {160, 0}, 0, 0, nullptr, &a.context, &a.nNumber),
         QXTNG_ERROR_INVALID_ARGUMENT},
        {CALL(QXStopBackGroundThread, 1), QXTNG_ERROR_THREAD_NOT_FOUND},
        {CALL(IsBackGroundThreadActive, 1, &a.nAnswer), QXTNG_ERROR_THREAD_NOT_FOUND, 0},
        {CALL(IsBackGroundThreadActive, 1, nullptr), QXTNG_ERROR_INVALID_ARGUMENT},
        {CALL(IsCachedThumbnailUpToDate, a.pszFile, &a.nAnswer), QXTNG_ERROR_CACHE_DISABLED, 0},
        {CALL(DeleteThumbnail, a.pszMissing), QXTNG_ERROR_CACHE_DISABLED},
        {CALL(DeleteFolder, a.pszMissing), QXTNG_ERROR_CACHE_DISABLED},
        {CALL(UpdateFileInfo, a.pszFile), QXTNG_ERROR_CACHE_DISABLED},
        {CALL(UpdateThumbnail, a.pszFile), QXTNG_ERROR_CACHE_DISABLED},
        {CALL(UpdateFolder, a.pszFolder), QXTNG_ERROR_CACHE_DISABLED},
        {CALL(UpdateAllOfCache, ), QXTNG_ERROR_CACHE_DISABLED},
        {CALL(ShutDown, ), QXTNG_ERROR_CACHE_DISABLED},
    };
    for (const ExportCall& c : calls) {
        SCOPED_TRACE(testing::Message() << c.pszName << ", call " << &c - calls);
        Arguments arguments;
        EXPECT_EQ(c.call(arguments), c.expected);
        EXPECT_EQ(arguments.nAnswer, c.answer);
        EXPECT_EQ(arguments.eOrigin, -1);
        EXPECT_EQ(arguments.pImage, nullptr);
        EXPECT_EQ(arguments.pBuffer, nullptr);
        EXPECT_EQ(arguments.size.nWidth, 0u);
    }
}

TEST(Exports, KeepTheThreshold) {
    unsigned nMegabytes = 0;
    EXPECT_EQ(GetThresholdFileSize(&nMegabytes), QXTNG_SUCCESS);
    EXPECT_EQ(nMegabytes, 17u);
    for (const unsigned set : {5u, 4095u, 0u}) {
        const unsigned before = nMegabytes;
        EXPECT_EQ(SetThresholdFileSize(set), set == 0 ? QXTNG_ERROR_INVALID_ARGUMENT : QXTNG_SUCCESS);
        EXPECT_EQ(GetThresholdFileSize(&nMegabytes), QXTNG_SUCCESS);
        EXPECT_EQ(nMegabytes, set == 0 ? before : set);
    }
}

TEST(Exports, GiveTheCacheFolderInABlockOfItsOwn) {
    char16_t* pszFolder = nullptr;
    EXPECT_EQ(GetCacheFolder(&pszFolder), QXTNG_SUCCESS);
    ASSERT_NE(pszFolder, nullptr);
    EXPECT_EQ(std::u16string(pszFolder, 260), std::u16string(260, u'\0'));
    EXPECT_TRUE(HeapFree(GetProcessHeap(), 0, pszFolder));
}

}  // namespace

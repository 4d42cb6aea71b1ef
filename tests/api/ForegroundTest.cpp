#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <atomic>
#include <cmath>
#include <cstring>
#include <fstream>
#include <iterator>
#include <memory>
#include <thread>
#include <vector>

#include "api/QxTng.h"
#include "platform/Memory.h"
#include "platform/graphics/Image.h"
#include "support/ImageRaster.h"
#include "support/PictureWriter.h"
#include "support/TemporaryFolder.h"

namespace {

using namespace TestSupport;
namespace fs = std::filesystem;

const fs::path kSamples = QXTNG_SAMPLES;
constexpr TNGSize kBox{160, 160};

// The thumbnail of a file as it comes out of one of the three exports.
struct Thumbnail {
    std::uint32_t result = QXTNG_ERROR_FAILED;
    int eOrigin = -1;
    int bDefault = -1;
    Raster pixels;  // of an image or an ARGB buffer
    Bytes compressed;
};

Thumbnail MakeImage(const std::u16string& path, const TNGSize& box = kBox, int eSourceMode = 0) {
    Thumbnail t;
    Gdiplus::Image* pImage = nullptr;
    t.result = QXGenerateThumbnailImageInForeGround(path.c_str(), box, eSourceMode, &pImage, &t.eOrigin,
                                                    &t.bDefault);
    EXPECT_EQ(pImage != nullptr, t.result == QXTNG_SUCCESS);
    t.pixels = RasterOf(pImage);
    delete pImage;
    return t;
}

Thumbnail MakeCompressed(const std::u16string& path, const TNGSize& box = kBox, int eSourceMode = 0) {
    Thumbnail t;
    unsigned char* pBuffer = nullptr;
    long nLength = -1;
    t.result = QXGenerateThumbnailCompressedBufferInForeGround(path.c_str(), box, eSourceMode, &pBuffer,
                                                               &nLength, &t.eOrigin, &t.bDefault);
    EXPECT_EQ(pBuffer != nullptr, t.result == QXTNG_SUCCESS);
    EXPECT_EQ(nLength > 0, t.result == QXTNG_SUCCESS);
    t.compressed.assign(pBuffer, pBuffer + nLength);
    EXPECT_EQ(VirtualFree(pBuffer, 0, MEM_RELEASE) != 0, pBuffer != nullptr);
    return t;
}

Thumbnail MakeArgb(const std::u16string& path, const TNGSize& box = kBox, int eSourceMode = 0) {
    Thumbnail t;
    unsigned char* pBuffer = nullptr;
    TNGSize size{9, 9};
    t.result = QXGenerateThumbnailARBGInForeGround(path.c_str(), box, eSourceMode, &pBuffer, &size,
                                                   &t.eOrigin, &t.bDefault);
    EXPECT_EQ(pBuffer != nullptr, t.result == QXTNG_SUCCESS);
    t.pixels = Raster(size.nWidth, size.nHeight, 4);
    if (pBuffer) std::memcpy(t.pixels.pixels.data(), pBuffer, t.pixels.pixels.size());
    EXPECT_TRUE(HeapFree(GetProcessHeap(), 0, pBuffer));
    return t;
}

std::array<int, 4> PixelAt(const Raster& picture, double x, double y) {
    const std::uint8_t* p = picture.Row(static_cast<std::size_t>(y * picture.nHeight)) +
                            static_cast<std::size_t>(x * picture.nWidth) * picture.nChannels;
    return {p[0], p[1], p[2], picture.nChannels == 4 ? p[3] : 255};
}

bool IsMostly(const Raster& picture, std::size_t channel, double x, double y) {
    const std::array<int, 4> pixel = PixelAt(picture, x, y);
    return pixel[3] == 255 && pixel[channel] > pixel[(channel + 1) % 3] + 50 &&
           pixel[channel] > pixel[(channel + 2) % 3] + 50;
}

int LightAt(const Raster& picture, double x, double y) {
    const std::array<int, 4> pixel = PixelAt(picture, x, y);
    return pixel[0] + 6 * pixel[1] + 3 * pixel[2];
}

enum class Shows { Landscape, GreyLandscape, Balloon, HardBalloon };

// The sun at the top left, squares in red, green and blue at the bottom right; or a balloon on nothing.
void ExpectUprightColours(const Raster& picture, Shows shows, bool alpha) {
    if (shows == Shows::Landscape || shows == Shows::GreyLandscape) {
        EXPECT_GT(LightAt(picture, 0.24, 0.25), LightAt(picture, 0.76, 0.25) + 150);
    }
    if (shows == Shows::Landscape) {
        const double side = 0.07 * std::min(picture.nWidth, picture.nHeight);
        const double y = 1 - 1.1 * side / picture.nHeight;
        for (std::size_t i = 0; i < 3; ++i) {
            const double x = 1 - ((4 - static_cast<double>(i)) * 1.3 - 0.5) * side / picture.nWidth;
            EXPECT_TRUE(IsMostly(picture, 2 - i, x, y)) << "square " << i;
        }
    }
    if (shows == Shows::Balloon || shows == Shows::HardBalloon) {
        EXPECT_TRUE(IsMostly(picture, 1, 0.35, 0.36));
        EXPECT_TRUE(IsMostly(picture, 0, 0.587, 0.36));
        const std::array<int, 4> ground = PixelAt(picture, 0.03, 0.03);
        EXPECT_EQ(ground[3], alpha ? 0 : 255);
        for (std::size_t i = 0; i < 3 && !alpha; ++i)
            EXPECT_GE(ground[i], 250);
    }
    if (shows == Shows::Balloon) {
        // The shadow, half transparent, or grey on white.
        const std::array<int, 4> shadow = PixelAt(picture, 0.8, 0.62);
        EXPECT_NEAR(alpha ? shadow[3] : shadow[0], 130, 90);
    }
}

TEST(Foreground, MakesAThumbnailOfEverySample) {
    const struct {
        const char* pszName;
        TNGSize size;
        Shows shows;
        int eOrigin = ORIGIN_DECODED;
    } cases[] = {
        {"baseline.jpg", {160, 120}, Shows::Landscape},
        {"progressive.jpg", {160, 120}, Shows::Landscape},
        {"grey.jpg", {160, 120}, Shows::GreyLandscape},
        {"cmyk.jpg", {160, 120}, Shows::Landscape},
        {"embedded-thumbnail.jpg", {160, 106}, Shows::Landscape, ORIGIN_EMBEDDED},
        {"UPPER-CASE.JPG", {120, 160}, Shows::Landscape},
        {"Fr\u00FChling \u6625\u306E\u671D.jpg", {160, 100}, Shows::Landscape},
        {"rgb.png", {160, 120}, Shows::Landscape},
        {"transparent.png", {160, 160}, Shows::Balloon},
        {"sixteen-bit.png", {160, 120}, Shows::Landscape},
        {"palette.png", {160, 160}, Shows::Balloon},
        {"interlaced.png", {160, 120}, Shows::Landscape},
        {"transparent.gif", {160, 160}, Shows::HardBalloon},
        {"interlaced.gif", {160, 120}, Shows::Landscape},
        {"lossy.webp", {160, 120}, Shows::Landscape},
        {"transparent.webp", {160, 160}, Shows::Balloon},
        {"strips.tif", {160, 120}, Shows::Landscape},
        {"tiles.tif", {160, 122}, Shows::Landscape},
        {"sixteen-bit-grey.tif", {160, 120}, Shows::GreyLandscape},
        {"true-colour.bmp", {160, 119}, Shows::Landscape},
        {"palette.bmp", {160, 120}, Shows::Landscape},
    };
    const TemporaryFolder folder;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.pszName);
        const std::u16string path = TextOf(kSamples / c.pszName);
        const bool png = fs::path(c.pszName).extension() == ".png";
        const bool alpha = png && c.shows == Shows::Balloon;
        const Thumbnail compressed = MakeCompressed(path);
        ASSERT_GT(compressed.compressed.size(), 4u);
        EXPECT_EQ(compressed.compressed[1], png ? 'P' : 0xD8);
        // What was compressed is looked at through the library again.
        const std::u16string again = folder.Add(png ? "again.png" : "again.jpg", compressed.compressed);
        const Thumbnail image = MakeImage(path);
        const Thumbnail argb = MakeArgb(path);
        for (const Thumbnail* p : {&image, &argb, &compressed}) {
            EXPECT_EQ(p->result, QXTNG_SUCCESS);
            EXPECT_EQ(p->bDefault, 0);
            EXPECT_EQ(p->eOrigin, c.eOrigin);
        }
        for (const Raster& picture : {image.pixels, argb.pixels, MakeImage(again).pixels}) {
            ASSERT_EQ(picture.nWidth, c.size.nWidth);
            ASSERT_EQ(picture.nHeight, c.size.nHeight);
            ExpectUprightColours(picture, c.shows, alpha);
        }
        EXPECT_EQ(image.pixels.nChannels, alpha || (png && image.pixels.nChannels == 4) ? 4u : 3u);
    }
}

TEST(Foreground, NeverEnlarges) {
    const TemporaryFolder folder;
    const std::u16string path = folder.Add("small.jpg", MakeJpeg(SmoothPattern(20, 11)));
    const struct {
        TNGSize box, expected;
    } cases[] = {{{160, 160}, {20, 11}},
                 {{20, 11}, {20, 11}},
                 {{19, 11}, {19, 10}},
                 {{500, 5}, {9, 5}},
                 {{1, 1}, {1, 1}},
                 {{7, 100}, {7, 4}},
                 {{0xFFFFFFFF, 0xFFFFFFFF}, {20, 11}}};
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.box.nWidth << " x " << c.box.nHeight);
        for (const Raster& picture : {MakeImage(path, c.box).pixels, MakeArgb(path, c.box).pixels}) {
            EXPECT_EQ(picture.nWidth, c.expected.nWidth);
            EXPECT_EQ(picture.nHeight, c.expected.nHeight);
        }
    }
}

TEST(Foreground, GivesADefaultImageWhereThereIsNoPicture) {
    const TemporaryFolder folder;
    folder.Add("empty.jpg");
    folder.Add("text.png", Bytes{'t', 'e', 'x', 't'});
    folder.Add("unknown.xyz", MakeJpeg(SmoothPattern(20, 20)));
    mkfifo((folder / "pipe.jpg").c_str(), 0600);
    fs::create_symlink("/dev/zero", folder / "endless.jpg");
    const fs::path files[] = {kSamples / "damaged.jpg", kSamples / "audio.wav", kSamples / "video.mp4",
                              folder / "empty.jpg",     folder / "text.png",    folder / "unknown.xyz",
                              folder / "pipe.jpg",      folder / "endless.jpg"};
    for (const fs::path& file : files) {
        SCOPED_TRACE(file.filename());
        const Thumbnail image = MakeImage(TextOf(file), {100, 90});
        const Thumbnail argb = MakeArgb(TextOf(file), {100, 90});
        const Thumbnail compressed = MakeCompressed(TextOf(file), {100, 90});
        for (const Thumbnail* p : {&image, &argb, &compressed}) {
            EXPECT_EQ(p->result, QXTNG_SUCCESS);
            EXPECT_EQ(p->bDefault, 1);
            EXPECT_EQ(p->eOrigin, ORIGIN_DEFAULT);
        }
        EXPECT_EQ(image.pixels.nWidth, 90u);
        EXPECT_EQ(image.pixels.nHeight, 90u);
        EXPECT_EQ(image.pixels.pixels, argb.pixels.pixels);
        EXPECT_EQ(compressed.compressed[1], 'P');
    }
}

TEST(Foreground, ShowsWhatACutOffFileHas) {
    const Thumbnail cut = MakeImage(TextOf(kSamples / "cut-off.jpg"));
    const Thumbnail whole = MakeImage(TextOf(kSamples / "baseline.jpg"));
    EXPECT_EQ(cut.bDefault, 0);
    EXPECT_LE(LargestDifference(FirstRows(cut.pixels, 20), FirstRows(whole.pixels, 20)), 1);
}

// A file of the threshold's size is made for a box of 800, which its thumbnail of 160 does not fill.
TEST(Foreground, LargeFilesAreMadeForTheExtraLargeBox) {
    ASSERT_EQ(SetThresholdFileSize(1), QXTNG_SUCCESS);
    const TemporaryFolder folder;
    const Raster picture = SmoothPattern(1200, 900);
    const Bytes jpeg = WithSegment(MakeJpeg(picture), 0xE1, MakeExif(MakeJpeg(SmoothPattern(160, 120))));
    const struct {
        std::size_t nSize;
        TNGSize box;
        int eOrigin;
    } cases[] = {{(1 << 20) - 1, {160, 160}, ORIGIN_EMBEDDED},
                 {1 << 20, {160, 160}, ORIGIN_DECODED},
                 {1 << 20, {801, 120}, ORIGIN_EMBEDDED}};
    for (const auto& c : cases) {
        Bytes file = jpeg;
        ASSERT_LT(file.size(), c.nSize);
        file.resize(c.nSize);
        const Thumbnail t =
            MakeImage(folder.Add("large.jpg", file), c.box, TNG_SOURCE_EMBEDDED_FILLED_OR_DECODE);
        EXPECT_EQ(t.result, QXTNG_SUCCESS);
        EXPECT_EQ(t.eOrigin, c.eOrigin) << c.nSize << ' ' << c.box.nWidth;
        EXPECT_EQ(t.pixels.nHeight, 120u);
    }
}

TEST(Foreground, TellsTheOriginalSize) {
    const TemporaryFolder folder;
    const struct {
        fs::path file;
        std::uint32_t result;
        TNGSize size{0, 0};
    } cases[] = {
        {kSamples / "embedded-thumbnail.jpg", QXTNG_SUCCESS, {3000, 2000}},
        {kSamples / "tiles.tif", QXTNG_SUCCESS, {250, 190}},
        {kSamples / "audio.wav", QXTNG_ERROR_UNSUPPORTED_FILE},
        {kSamples / "video.mp4", QXTNG_ERROR_FAILED},
        {kSamples / "README.md", QXTNG_ERROR_UNSUPPORTED_FILE},
        {folder.Add("not.jpg", Bytes(100)), QXTNG_ERROR_PRODUCTION_FAILED},
    };
    for (const auto& c : cases) {
        TNGSize size{7, 7};
        EXPECT_EQ(GetSizeOriginal(TextOf(c.file).c_str(), &size), c.result) << c.file;
        EXPECT_EQ(size.nWidth, c.size.nWidth);
        EXPECT_EQ(size.nHeight, c.size.nHeight);
    }
}

TEST(Foreground, TakesNamesThatAreNotText) {
    const TemporaryFolder folder;
    const std::u16string path = folder.Add("\xFF\xC3(\x80.jpg", MakeJpeg(SmoothPattern(20, 11)));
    EXPECT_EQ(MakeImage(path).bDefault, 0);
    EXPECT_EQ(MakeArgb(path).pixels.nWidth, 20u);
}

// The very first calls of a process, on many threads at once.
TEST(Foreground, WorksOnManyThreads) {
    std::vector<std::u16string> paths;
    for (const auto& entry : fs::directory_iterator(kSamples)) {
        if (fs::file_size(entry) < 40'000) paths.push_back(TextOf(entry.path()));
    }
    std::atomic<std::size_t> nNext{0};
    std::atomic<int> nFailures{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i) {
        threads.emplace_back([&] {
            for (std::size_t n = nNext++; n < 3 * paths.size(); n = nNext++) {
                const auto make = n % 3 == 0 ? MakeImage : n % 3 == 1 ? MakeCompressed : MakeArgb;
                if (make(paths[n / 3], {100, 100}, 0).result != QXTNG_SUCCESS) ++nFailures;
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(nFailures, 0);
}

}  // namespace

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <array>
#include <atomic>
#include <thread>
#include <vector>

#include "api/Thumbnail.h"
#include "support/TemporaryFolder.h"

namespace {

using namespace TestSupport;
namespace fs = std::filesystem;

const fs::path kSamples = QXTNG_SAMPLES;
constexpr TNGOutputForm kForms[] = {TNG_OUTPUT_IMAGE, TNG_OUTPUT_COMPRESSED, TNG_OUTPUT_ARGB};

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

enum class Shows { Landscape, Sun, Balloon, HardBalloon };

// The sun at the top left, and squares in red, green and blue at the bottom right.
void ExpectLandscape(const Raster& picture, bool squares) {
    EXPECT_GT(LightAt(picture, 0.24, 0.25), LightAt(picture, 0.76, 0.25) + 150);
    const double side = 0.07 * std::min(picture.nWidth, picture.nHeight);
    for (std::size_t i = 0; i < 3 && squares; ++i) {
        const double x = 1 - ((4 - static_cast<double>(i)) * 1.3 - 0.5) * side / picture.nWidth;
        EXPECT_TRUE(IsMostly(picture, 2 - i, x, 1 - 1.1 * side / picture.nHeight)) << "square " << i;
    }
}

// Green and blue stripes, and a shadow, half transparent, or grey on a white ground.
void ExpectBalloon(const Raster& picture, bool shadow, bool alpha) {
    EXPECT_TRUE(IsMostly(picture, 1, 0.35, 0.36));
    EXPECT_TRUE(IsMostly(picture, 0, 0.587, 0.36));
    const std::array<int, 4> ground = PixelAt(picture, 0.03, 0.03);
    EXPECT_EQ(ground[3], alpha ? 0 : 255);
    EXPECT_TRUE(alpha || (ground[0] >= 250 && ground[1] >= 250 && ground[2] >= 250));
    const std::array<int, 4> shade = PixelAt(picture, 0.8, 0.62);
    if (shadow) {
        EXPECT_NEAR(alpha ? shade[3] : shade[0], 130, 90);
    }
}

TEST(Foreground, MakesAThumbnailOfEverySample) {
    const struct {
        const char* pszName;
        TNGSize size;
        Shows shows = Shows::Landscape;
        int eOrigin = ORIGIN_DECODED;
    } cases[] = {
        {"baseline.jpg", {160, 120}},
        {"progressive.jpg", {160, 120}},
        {"grey.jpg", {160, 120}, Shows::Sun},
        {"cmyk.jpg", {160, 120}},
        {"cut-off.jpg", {160, 120}, Shows::Sun},
        {"embedded-thumbnail.jpg", {160, 106}, Shows::Landscape, ORIGIN_EMBEDDED},
        {"UPPER-CASE.JPG", {120, 160}},
        {"Fr\u00FChling \u6625\u306E\u671D.jpg", {160, 100}},
        {"rgb.png", {160, 120}},
        {"transparent.png", {160, 160}, Shows::Balloon},
        {"sixteen-bit.png", {160, 120}},
        {"palette.png", {160, 160}, Shows::Balloon},
        {"interlaced.png", {160, 120}},
        {"transparent.gif", {160, 160}, Shows::HardBalloon},
        {"interlaced.gif", {160, 120}},
        {"lossy.webp", {160, 120}},
        {"transparent.webp", {160, 160}, Shows::Balloon},
        {"strips.tif", {160, 120}},
        {"tiles.tif", {160, 122}},
        {"sixteen-bit-grey.tif", {160, 120}, Shows::Sun},
        {"true-colour.bmp", {160, 119}},
        {"palette.bmp", {160, 120}},
    };
    const TemporaryFolder folder;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.pszName);
        const bool png = fs::path(c.pszName).extension() == ".png";
        for (const TNGOutputForm form : kForms) {
            Thumbnail t = Make(form, TextOf(kSamples / c.pszName));
            EXPECT_EQ(t.result, QXTNG_SUCCESS);
            EXPECT_EQ(t.bDefault, 0);
            EXPECT_EQ(t.eOrigin, c.eOrigin);
            if (form == TNG_OUTPUT_COMPRESSED) {
                ASSERT_GT(t.compressed.size(), 4u);
                EXPECT_EQ(t.compressed[1], png ? 'P' : 0xD8);
                // It is looked at through the library again, from a file whose name is not text.
                const std::u16string path = folder.Add(png ? "\xFF\xC3(.png" : "\x80.jpg", t.compressed);
                t.pixels = Make(TNG_OUTPUT_IMAGE, path).pixels;
            }
            ASSERT_EQ(t.pixels.nWidth, c.size.nWidth);
            ASSERT_EQ(t.pixels.nHeight, c.size.nHeight);
            if (c.shows == Shows::Landscape || c.shows == Shows::Sun) {
                ExpectLandscape(t.pixels, c.shows == Shows::Landscape);
            } else {
                ExpectBalloon(t.pixels, c.shows == Shows::Balloon, png);
            }
        }
        TNGSize size{0, 0};
        EXPECT_EQ(GetSizeOriginal(TextOf(kSamples / c.pszName).c_str(), &size), QXTNG_SUCCESS);
        EXPECT_NEAR(size.nWidth * c.size.nHeight, size.nHeight * c.size.nWidth, size.nWidth);
    }
}

TEST(Foreground, GivesADefaultImageWhereThereIsNoPicture) {
    const TemporaryFolder folder;
    folder.Add("empty.jpg");
    folder.Add("text.png", Bytes{'t', 'e', 'x', 't'});
    mkfifo((folder / "pipe.jpg").c_str(), 0600);
    fs::create_symlink("/dev/zero", folder / "endless.jpg");
    const struct {
        fs::path file;
        std::uint32_t resultOfSize;
    } cases[] = {{kSamples / "damaged.jpg", QXTNG_ERROR_PRODUCTION_FAILED},
                 {folder / "empty.jpg", QXTNG_ERROR_PRODUCTION_FAILED},
                 {folder / "text.png", QXTNG_ERROR_PRODUCTION_FAILED},
                 {folder / "pipe.jpg", QXTNG_ERROR_PRODUCTION_FAILED},
                 {folder / "endless.jpg", QXTNG_ERROR_PRODUCTION_FAILED}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.file.filename());
        for (const TNGOutputForm form : kForms) {
            const Thumbnail t = Make(form, TextOf(c.file), {100, 90});
            EXPECT_EQ(t.result, QXTNG_SUCCESS);
            EXPECT_EQ(t.bDefault, 1);
            EXPECT_EQ(t.eOrigin, ORIGIN_DEFAULT);
            EXPECT_EQ(t.pixels.nWidth, form == TNG_OUTPUT_COMPRESSED ? 0u : 90u);
            EXPECT_EQ(t.compressed.size() > 4 && t.compressed[1] == 'P', form == TNG_OUTPUT_COMPRESSED);
        }
        TNGSize size{7, 7};
        EXPECT_EQ(GetSizeOriginal(TextOf(c.file).c_str(), &size), c.resultOfSize);
        EXPECT_EQ(size.nWidth, 0u);
    }
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
                if (Make(kForms[n % 3], paths[n / 3], {100, 100}).result != QXTNG_SUCCESS) ++nFailures;
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(nFailures, 0);
}

}  // namespace

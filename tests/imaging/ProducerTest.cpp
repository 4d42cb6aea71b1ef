#include "imaging/TNGThumbnailProducer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "imaging/TNGDefaultImages.h"
#include "support/ImageRaster.h"
#include "support/StandInImageLibrary.h"

namespace {

using namespace TestSupport;
using Gdiplus::PixelFormat;

constexpr PixelFormat k24 = Gdiplus::PixelFormat24bppRGB;
constexpr PixelFormat k32 = Gdiplus::PixelFormat32bppARGB;
constexpr PixelFormat kPalette = 0x30803;
constexpr std::uint32_t kAny = TNG_SOURCE_EMBEDDED_OR_DECODE, kFilled = TNG_SOURCE_EMBEDDED_FILLED_OR_DECODE,
                        kDecode = TNG_SOURCE_DECODE_ONLY;

// Default images of 240 x 240, one for each kind.
void SetUpStandIn(const char* pszFaultsOfDefaults = "") {
    StandIn() = {};
    const StandInFile picture{
        .size = {240, 240}, .told = k32, .loaded = k32, .pszFaults = pszFaultsOfDefaults};
    const auto add = [&picture](char16_t* pszPath, const std::u16string& name) {
        *std::ranges::copy(name, pszPath).out = 0;
        StandIn().files[name] = picture;
    };
    add(s_szOtherImagePath, u"/default-other.png");
    add(s_szAudioImagePath, u"/default-audio.png");
    add(s_szVideoImagePath, u"/default-video.png");
}

std::string TextOf(const TNGSize& size) {
    return std::to_string(size.nWidth) + "x" + std::to_string(size.nHeight);
}

struct Request {
    const char16_t* pszPath = u"/p.jpg";
    std::uint32_t eAssetType = ASSET_TYPE_IMAGE;
    std::uint32_t eSourceMode = kDecode;
    TNGSize box{160, 160};
};

// The whole way of a request: the calls of the library, then origin, default flag and status, then the size
// and channels of the image. An origin of 9 is one that was not written.
std::string Produce(const Request& request, const StandInFile& file, Raster* pPixels = nullptr) {
    StandIn().files[request.pszPath] = file;
    StandIn().calls.clear();
    CTNGThumbnailProducer producer(request.pszPath, request.eAssetType);
    producer.m_eSourceMode = request.eSourceMode;
    TNGSize size{0, 0};
    if (request.eAssetType == ASSET_TYPE_IMAGE) producer.GetOriginalImageSize(&size);
    producer.m_nMaxWidth = request.box.nWidth;
    producer.m_nMaxHeight = request.box.nHeight;
    int eOrigin = 9;
    int bDefault = 9;
    const auto pImage = producer.GenerateThumbnailImage(size, &bDefault, &eOrigin);
    const std::string text = StandIn().calls + " " + std::to_string(eOrigin) + std::to_string(bDefault) +
                             std::to_string(producer.m_eStatus);
    if (!pImage) return text + " none";
    EXPECT_EQ(pImage->GetLastStatus(), Gdiplus::Ok);
    const Raster pixels = RasterOf(pImage.get());
    if (pPixels) *pPixels = pixels;
    return text + " " + TextOf(SizeOf(*pImage)) + "x" + std::to_string(pixels.nChannels);
}

TEST(Producer, DecodesIntoTheBoxAndTheRightFormat) {
    const struct {
        const char* pszName;
        const char16_t* pszPath;
        StandInFile file;
        const char* pszExpected;
    } cases[] = {
        {"fits exactly", u"/p.jpg", {.size = {160, 160}}, "WHL 100 160x160x3"},
        {"a column too much", u"/p.jpg", {.size = {161, 120}}, "WHFR 100 160x119x3"},
        {"a row too much", u"/p.jpg", {.size = {7, 161}}, "WHFR 100 7x160x3"},
        {"palette", u"/p.jpg", {.told = kPalette}, "WHFL 100 160x120x3"},
        {"format unknown", u"/p.jpg", {.pszFaults = "F!"}, "WHFL 100 160x120x3"},
        {"alpha, fits", u"/p.jpg", {.size = {9, 9}, .loaded = k32}, "WHL 100 9x9x3"},
        {"alpha, scaled", u"/p.jpg", {.loaded = k32}, "WHFR 100 160x120x3"},
        {"alpha, redrawn", u"/p.jpg", {.told = 0, .loaded = k32}, "WHFL 100 160x120x3"},
        {"png, fits", u"/p.png", {.size = {9, 9}, .loaded = k32}, "WHL 100 9x9x4"},
        {"png, opaque, fits", u"/p.png", {.size = {9, 9}}, "WHL 100 9x9x3"},
        {"png, scaled", u"/p.PNG", {.told = k32, .loaded = k32}, "WHFR 100 160x120x4"},
        {"png, redrawn", u"/p.pNg", {.told = 0}, "WHFL 100 160x120x4"},
        {"no dot", u"/png", {.size = {9, 9}, .loaded = k32}, "WHL 100 9x9x3"},
        {"dot elsewhere", u"/p.d/png", {.size = {9, 9}, .loaded = k32}, "WHL 100 9x9x3"},
        {"load fails", u"/p.jpg", {.size = {9, 9}, .pszFaults = "L!"}, "WHLwhfr 210 160x160x4"},
    };
    for (const auto& c : cases) {
        SetUpStandIn();
        EXPECT_EQ(Produce({.pszPath = c.pszPath}, c.file), c.pszExpected) << c.pszName;
    }
    for (const PixelFormat scalable :
         {0x21808, 0x22009, 0x26200A, 0xE200B, 0x21005, 0x21006, 0x61007, 0x101004})
        EXPECT_EQ(Produce({}, {.told = scalable}), "WHFR 100 160x120x3") << scalable;
    for (const TNGSize size : {TNGSize{20, 20}, TNGSize{320, 320}}) {
        Raster pixels;
        Produce({}, {.size = size, .told = kPalette, .loaded = k32}, &pixels);
        EXPECT_EQ(pixels.pixels[2], 131) << "7 under an alpha of 128 on white";
    }
}

TEST(Producer, TakesEmbeddedThumbnailsThatServe) {
    const struct {
        const char* pszName;
        std::uint32_t eSourceMode;
        StandInFile file;
        const char* pszExpected;
        TNGSize box{160, 160};
    } cases[] = {
        {"none", kAny, {}, "WHEFR 107 160x120x3"},
        {"fails", kAny, {.pszFaults = "E!"}, "WHEFR 102 160x120x3"},
        {"is null", kAny, {.pszFaults = "E0"}, "WHEFR 102 160x120x3"},
        {"fails, yet is", kAny, {.thumbnail = {160, 120}, .pszFaults = "E+"}, "WHEFR 102 160x120x3"},
        {"broken", kAny, {.thumbnail = {160, 120}, .pszFaults = "E?"}, "WHEwhfr 210 160x160x4"},
        {"right", kAny, {.thumbnail = {160, 120}}, "WHE 000 160x120x3"},
        {"small", kAny, {.thumbnail = {80, 60}}, "WHE 000 80x60x3"},
        {"small, strict", kFilled, {.thumbnail = {80, 60}}, "WHEFR 105 160x120x3"},
        {"strict, width", kFilled, {.thumbnail = {160, 120}}, "WHE 000 160x120x3"},
        {"strict, height", kFilled, {.thumbnail = {160, 120}}, "WHE 000 160x120x3", {200, 120}},
        {"strict, neither", kFilled, {.thumbnail = {160, 120}}, "WHEFR 105 200x150x3", {200, 200}},
        {"strict, too large", kFilled, {.thumbnail = {180, 135}}, "WHE 000 160x120x3"},
        {"not wanted", kDecode, {.thumbnail = {160, 120}}, "WHFR 100 160x120x3"},
        {"alpha", kAny, {.loaded = k32, .thumbnail = {160, 120}}, "WHE 000 160x120x3"},
        {"own aspect", kAny, {.size = {3000, 2000}, .thumbnail = {320, 216}}, "WHE 000 160x107x3"},
        {"crosswise", kAny, {.thumbnail = {120, 160}}, "WHEFR 105 160x120x3"},
        {"crosswise", kAny, {.size = {300, 400}, .thumbnail = {160, 120}}, "WHEFR 105 120x160x3"},
        {"of a line", kAny, {.size = {9000, 1}, .thumbnail = {160, 160}}, "WHEFR 105 160x1x3"},
    };
    for (const auto& c : cases) {
        SetUpStandIn();
        EXPECT_EQ(Produce({.eSourceMode = c.eSourceMode, .box = c.box}, c.file), c.pszExpected) << c.pszName;
    }
}

TEST(Producer, CutsEmbeddedThumbnailsToThePicture) {
    const struct {
        TNGSize original, thumbnail, cut;
        int left, top;
    } cases[] = {
        {{3000, 2000}, {160, 120}, {160, 106}, 0, 6}, {{3000, 2000}, {160, 107}, {160, 107}, 0, 0},
        {{4000, 3000}, {160, 120}, {160, 120}, 0, 0}, {{200, 100}, {100, 55}, {100, 55}, 0, 0},
        {{200, 100}, {100, 56}, {100, 50}, 0, 3},     {{3000, 2000}, {160, 160}, {160, 106}, 0, 26},
        {{2000, 3000}, {120, 160}, {106, 160}, 6, 0}, {{3000, 3000}, {160, 120}, {120, 120}, 20, 0},
    };
    for (const auto& c : cases) {
        SetUpStandIn();
        Raster pixels;
        const StandInFile file{.size = c.original, .thumbnail = c.thumbnail};
        EXPECT_EQ(Produce({.eSourceMode = kAny}, file, &pixels), "WHE 000 " + TextOf(c.cut) + "x3");
        EXPECT_EQ(pixels.pixels[0], c.left) << TextOf(c.thumbnail);
        EXPECT_EQ(pixels.pixels[1], c.top) << TextOf(c.thumbnail);
    }
}

TEST(Producer, GivesDefaultImagesWhereThereIsNoPicture) {
    const struct {
        Request request;
        const char* pszFaults;
        const char* pszFaultsOfDefaults;
        const char16_t* pszLastPath;
        const char* pszExpected;
    } cases[] = {
        {{.eAssetType = ASSET_TYPE_AUDIO}, "", "", u"/default-audio.png", "whfr 210 160x160x4"},
        {{.eAssetType = ASSET_TYPE_VIDEO}, "", "", u"/default-video.png", "whfr 210 160x160x4"},
        {{.eAssetType = ASSET_TYPE_UNKNOWN}, "", "", u"/default-other.png", "whfr 210 160x160x4"},
        {{.eAssetType = ASSET_TYPE_OTHER_5}, "", "", u"/default-other.png", "whfr 210 160x160x4"},
        {{.eAssetType = 2, .box = {300, 240}}, "", "", u"/default-audio.png", "whl 210 240x240x4"},
        {{.eSourceMode = 3}, "", "", u"/default-other.png", "WHwhfr 210 160x160x4"},
        {{}, "R!", "", u"/default-other.png", "WHFRwhfr 210 160x160x4"},
        {{}, "R0", "", u"/default-other.png", "WHFRwhfr 210 160x160x4"},
        {{}, "R+", "", u"/default-other.png", "WHFRwhfr 210 160x160x4"},
        {{}, "R?", "", u"/default-other.png", "WHFRwhfr 210 160x160x4"},
        {{}, "R!", "R!", u"/default-other.png", "WHFRwhfr 916 none"},
        {{.eSourceMode = kAny}, "R!", "W!L!", u"/default-other.png", "WHEFRwl 116 none"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << "case " << &c - cases);
        SetUpStandIn(c.pszFaultsOfDefaults);
        EXPECT_EQ(Produce(c.request, {.pszFaults = c.pszFaults}), c.pszExpected);
        EXPECT_EQ(StandIn().lastPath, c.pszLastPath);
    }
}

TEST(Producer, TellsTheOriginalSize) {
    const struct {
        std::uint32_t eAssetType;
        const char* pszFaults;
        const char* pszExpected;
        TNGProducerStatus eStatus;
    } cases[] = {{ASSET_TYPE_IMAGE, "", "400x300", TNG_PRODUCER_OK},
                 {ASSET_TYPE_IMAGE, "W!", "1x2", TNG_PRODUCER_LIBRARY_CALL_FAILED},
                 {ASSET_TYPE_IMAGE, "H!", "400x2", TNG_PRODUCER_LIBRARY_CALL_FAILED},
                 {ASSET_TYPE_VIDEO, "", "1x2", TNG_PRODUCER_OK}};
    CTNGThumbnailProducer producer(u"/p.jpg", ASSET_TYPE_IMAGE);
    for (const auto& c : cases) {
        SetUpStandIn();
        StandIn().files[u"/p.jpg"] = {.pszFaults = c.pszFaults};
        producer.Reinitialize(u"/p.jpg", c.eAssetType);
        TNGSize size{1, 2};
        EXPECT_EQ(producer.GetOriginalImageSize(&size),
                  *c.pszExpected == '4' && c.eStatus == TNG_PRODUCER_OK);
        EXPECT_EQ(TextOf(size), c.pszExpected);
        EXPECT_EQ(producer.m_eStatus, c.eStatus);
    }
}

TEST(Producer, LoadsDefaultThumbnailsOnItsOwn) {
    const struct {
        std::uint32_t eAssetType;
        TNGSize box;
        const char16_t* pszPath;
        const char* pszExpected;
    } cases[] = {{ASSET_TYPE_AUDIO, {241, 241}, u"/default-audio.png", "240x240"},
                 {ASSET_TYPE_VIDEO, {240, 240}, u"/default-video.png", "240x240"},
                 {ASSET_TYPE_IMAGE, {500, 100}, u"/default-other.png", "100x100"},
                 {ASSET_TYPE_OTHER_4, {32, 32}, u"/default-other.png", "32x32"}};
    SetUpStandIn();
    const CTNGThumbnailProducer binds({}, ASSET_TYPE_IMAGE);
    for (const auto& c : cases) {
        StandIn().calls.clear();
        const auto pImage = LoadDefaultThumbnail(c.eAssetType, c.box);
        ASSERT_NE(pImage, nullptr);
        EXPECT_EQ(TextOf(SizeOf(*pImage)), c.pszExpected);
        EXPECT_EQ(pImage->GetPixelFormat(), k32);
        EXPECT_EQ(StandIn().calls, "l");
        EXPECT_EQ(StandIn().lastPath, c.pszPath);
    }
    SetUpStandIn("L!");
    EXPECT_EQ(LoadDefaultThumbnail(ASSET_TYPE_AUDIO, {160, 160}), nullptr);
}

}  // namespace

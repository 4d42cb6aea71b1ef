#include "imaging/TNGImageLibrary.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "generation/TNGThumbnailData.h"
#include "imaging/TNGDefaultImages.h"
#include "support/StandInImageLibrary.h"

namespace {

using namespace TestSupport;
using Gdiplus::Bitmap;
using Gdiplus::PixelFormat24bppRGB;

void SetFaults(const char* pszFaults) {
    StandIn() = {};
    StandIn().files[u""].pszFaults = pszFaults;
}

StandInBuffer ContentOf(const TNGBuffer& buffer) {
    StandInBuffer content;
    std::memcpy(&content, buffer.get(), sizeof content);
    return content;
}

enum class From { Nothing, Image, Buffer, BrokenImage, EmptyBuffer };

TNGThumbnailData MakeSource(From from, const TNGSize& box) {
    SetFaults("");
    TNGThumbnailData source;
    source.nWidth = box.nWidth;
    source.nHeight = box.nHeight;
    auto pImage = std::make_unique<Bitmap>(160, 120, PixelFormat24bppRGB);
    if (from == From::Buffer || from == From::EmptyBuffer)
        SaveImageToMemory(*pImage, false, source.pBuffer, &source.nLength);
    if (from == From::EmptyBuffer) source.nLength = 0;
    if (from == From::BrokenImage) pImage->SetResolution(0, 0);
    if (from == From::Image || from == From::BrokenImage) source.pImage = std::move(pImage);
    return source;
}

TEST(ImageLibrary, BringsThumbnailsIntoTheOutputForm) {
    ASSERT_TRUE(LoadImageLibrary());
    const struct {
        std::uint32_t eForm;
        From from;
        TNGSize box;
        const char* pszFaults;
        const char* pszCalls;
        TNGSize expected{0, 0};  // pixels; the source has 160 x 120. 0: refused
    } cases[] = {
        {TNG_OUTPUT_IMAGE, From::Image, {160, 120}, "", "", {160, 120}},
        {TNG_OUTPUT_IMAGE, From::Image, {80, 80}, "", "", {80, 60}},
        {TNG_OUTPUT_IMAGE, From::Buffer, {80, 80}, "", "M", {80, 60}},
        {TNG_OUTPUT_IMAGE, From::Buffer, {80, 80}, "M!", "M"},
        {TNG_OUTPUT_IMAGE, From::Buffer, {80, 80}, "M0", "M"},
        {TNG_OUTPUT_IMAGE, From::Buffer, {80, 80}, "M+", "M"},
        {TNG_OUTPUT_IMAGE, From::Buffer, {80, 80}, "M?", "M"},
        {TNG_OUTPUT_IMAGE, From::BrokenImage, {80, 80}, "", ""},
        {TNG_OUTPUT_IMAGE, From::EmptyBuffer, {80, 80}, "", ""},
        {TNG_OUTPUT_IMAGE, From::Nothing, {80, 80}, "", ""},
        {TNG_OUTPUT_COMPRESSED, From::Image, {300, 300}, "", "S", {160, 120}},
        {TNG_OUTPUT_COMPRESSED, From::Image, {80, 80}, "", "S", {80, 60}},
        {TNG_OUTPUT_COMPRESSED, From::Image, {80, 80}, "S!", "S"},
        {TNG_OUTPUT_COMPRESSED, From::Image, {80, 80}, "S0", "S"},
        {TNG_OUTPUT_COMPRESSED, From::BrokenImage, {80, 80}, "", ""},
        {TNG_OUTPUT_COMPRESSED, From::Buffer, {160, 160}, "M!", "", {160, 120}},
        {TNG_OUTPUT_COMPRESSED, From::Buffer, {32, 32}, "M!", "", {160, 120}},
        {TNG_OUTPUT_COMPRESSED, From::Buffer, {160, 159}, "", "M", {160, 120}},
        {TNG_OUTPUT_COMPRESSED, From::Buffer, {32, 31}, "", "MS", {32, 24}},
        {TNG_OUTPUT_COMPRESSED, From::Buffer, {80, 80}, "M!", "M"},
        {TNG_OUTPUT_COMPRESSED, From::Buffer, {80, 80}, "S!", "MS"},
        {TNG_OUTPUT_COMPRESSED, From::EmptyBuffer, {160, 160}, "", ""},
        {TNG_OUTPUT_COMPRESSED, From::Nothing, {160, 160}, "", ""},
        {TNG_OUTPUT_ARGB, From::Image, {80, 80}, "", "SA", {80, 60}},
        {TNG_OUTPUT_ARGB, From::Image, {80, 80}, "A!", "SA"},
        {TNG_OUTPUT_ARGB, From::Image, {80, 80}, "A0", "SA"},
        {TNG_OUTPUT_ARGB, From::Image, {80, 80}, "A+", "SA"},
        {TNG_OUTPUT_ARGB, From::Image, {80, 80}, "S+", "SX"},
        {TNG_OUTPUT_ARGB, From::Buffer, {160, 160}, "", "A", {160, 120}},
        {3, From::Image, {160, 160}, "", ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << "case " << &c - cases);
        TNGThumbnailData source = MakeSource(c.from, c.box);
        SetFaults(c.pszFaults);
        TNGThumbnailData result;
        const bool bConverted = c.expected.nWidth != 0;
        EXPECT_EQ(ConvertThumbnailIntoProperType(std::move(source), c.eForm, ASSET_TYPE_IMAGE, &result,
                                                 u"/p.jpg", ORIGIN_DECODED),
                  bConverted);
        EXPECT_EQ(StandIn().calls, c.pszCalls);
        EXPECT_EQ(result.pImage != nullptr, bConverted && c.eForm == TNG_OUTPUT_IMAGE);
        EXPECT_EQ(result.pBuffer != nullptr, bConverted && c.eForm != TNG_OUTPUT_IMAGE);
        if (!result.pImage && !result.pBuffer) continue;
        TNGSize size{result.nWidth, result.nHeight};
        if (c.eForm == TNG_OUTPUT_COMPRESSED) {
            EXPECT_EQ(size.nWidth, sizeof(StandInBuffer));
            EXPECT_EQ(size.nHeight, 0u);
            size = ContentOf(result.pBuffer).size;
        }
        EXPECT_EQ(size.nWidth, c.expected.nWidth);
        EXPECT_EQ(size.nHeight, c.expected.nHeight);
    }
}

TEST(ImageLibrary, CompressesAsPngWhatCountsAsPng) {
    ASSERT_TRUE(LoadImageLibrary());
    const struct {
        const char16_t* pszPath;
        int eOrigin;
        std::uint32_t eType;
        bool bPng;
    } cases[] = {
        {u"/p.png", ORIGIN_DECODED, ASSET_TYPE_IMAGE, true},
        {u"/p.PnG", ORIGIN_EMBEDDED, ASSET_TYPE_IMAGE, true},
        {u"/p.png", ORIGIN_CACHED, ASSET_TYPE_AUDIO, true},
        {u"/p.png", ORIGIN_DECODED, ASSET_TYPE_VIDEO, false},
        {u"/p.jpg", ORIGIN_DECODED, ASSET_TYPE_IMAGE, false},
        {u"/png", ORIGIN_DECODED, ASSET_TYPE_IMAGE, false},
        {u"/p.jpg", ORIGIN_DEFAULT, ASSET_TYPE_VIDEO, true},
        {u"/p", ORIGIN_DEFAULT, ASSET_TYPE_UNKNOWN, true},
        {u"/p.png", ORIGIN_DEFAULT, ASSET_TYPE_OTHER_4, false},
        {u"/p.png", 4, ASSET_TYPE_IMAGE, false},
        {u"/p.png", -1, ASSET_TYPE_IMAGE, false},
    };
    for (const auto& c : cases) {
        TNGThumbnailData result;
        ASSERT_TRUE(ConvertThumbnailIntoProperType(MakeSource(From::Image, {80, 80}), TNG_OUTPUT_COMPRESSED,
                                                   c.eType, &result, c.pszPath, c.eOrigin));
        EXPECT_EQ(ContentOf(result.pBuffer).format, c.bPng ? 'p' : 'j') << "case " << &c - cases;
        EXPECT_EQ(ContentOf(result.pBuffer).nQuality, c.bPng ? 100 : 95);
    }
}

TEST(DefaultImages, HaveASlotForEachKind) {
    const struct {
        std::uint32_t eType;
        int slot;
    } cases[] = {{ASSET_TYPE_UNKNOWN, 2},
                 {ASSET_TYPE_IMAGE, -1},
                 {ASSET_TYPE_AUDIO, 0},
                 {ASSET_TYPE_VIDEO, 1},
                 {ASSET_TYPE_OTHER_4, 2},
                 {ASSET_TYPE_OTHER_5, 2},
                 {6, -1},
                 {0xFFFFFFFF, -1}};
    for (const auto& stored : cases) {
        MakeDefaultImageTable();
        const std::uint8_t bytes[] = {'a', 'b', 'c'};
        StoreDefaultImage(stored.eType, bytes, 3);
        MakeDefaultImageTable();  // does not replace the table
        for (const auto& c : cases) {
            const bool bFilled = c.slot >= 0 && c.slot == stored.slot;
            EXPECT_EQ(IsDefaultImageCached(c.eType), bFilled) << stored.eType << ' ' << c.eType;
            std::int32_t nSize = 77;
            const TNGBuffer copy = GetDefaultImageBuffer(c.eType, &nSize);
            EXPECT_EQ(std::string(reinterpret_cast<const char*>(copy.get()), static_cast<std::size_t>(nSize)),
                      bFilled ? "abc" : "");
        }
        ReleaseDefaultImageTable();
    }
}

}  // namespace

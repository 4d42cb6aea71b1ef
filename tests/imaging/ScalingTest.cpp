#include "imaging/TNGImageScaling.h"

#include <gtest/gtest.h>

#include <utility>

#include "support/ImageRaster.h"

namespace {

using Gdiplus::Bitmap;
using Gdiplus::Image;
using Gdiplus::PixelFormat;

constexpr PixelFormat k24 = Gdiplus::PixelFormat24bppRGB;
constexpr PixelFormat k32 = Gdiplus::PixelFormat32bppARGB;

TEST(Scaling, FitsIntoABox) {
    const struct {
        TNGSize source, box, expected;
    } cases[] = {{{4000, 3000}, {160, 160}, {160, 120}},   {{3000, 4000}, {160, 160}, {120, 160}},
                 {{1, 3000}, {160, 160}, {1, 160}},        {{5000, 2}, {160, 160}, {160, 1}},
                 {{161, 160}, {160, 160}, {160, 159}},     {{1000, 333}, {160, 32}, {96, 32}},
                 {{65535, 65534}, {800, 800}, {800, 800}}, {{4294967295, 1}, {160, 160}, {160, 1}}};
    for (const auto& c : cases) {
        const TNGSize size = FitIntoBox(c.source, c.box);
        EXPECT_EQ(std::pair(size.nWidth, size.nHeight), std::pair(c.expected.nWidth, c.expected.nHeight))
            << c.source.nWidth << " x " << c.source.nHeight;
    }
}

TEST(Scaling, LeavesAloneWhatFits) {
    const struct {
        int width, height;
        PixelFormat format;
        bool bPng, bScaled;
        TNGSize expected;
        PixelFormat expectedFormat;
    } cases[] = {{160, 120, k32, false, false, {160, 120}, k32},
                 {161, 120, k32, false, true, {160, 119}, k24},
                 {160, 121, k24, true, true, {159, 120}, k32},
                 {1, 1, k24, true, false, {1, 1}, k24}};
    for (const auto& c : cases) {
        std::unique_ptr<Image> pImage = std::make_unique<Bitmap>(c.width, c.height, c.format);
        static_cast<Bitmap&>(*pImage).SetResolution(300, 72);
        bool bScaled = !c.bScaled;
        EXPECT_EQ(ScaleImage(pImage, {160, 120}, c.bPng, &bScaled), TNG_PRODUCER_OK);
        EXPECT_EQ(bScaled, c.bScaled);
        EXPECT_EQ(pImage->GetWidth(), c.expected.nWidth);
        EXPECT_EQ(pImage->GetHeight(), c.expected.nHeight);
        EXPECT_EQ(pImage->GetPixelFormat(), c.expectedFormat);
        EXPECT_EQ(pImage->GetHorizontalResolution(), 300.0f);
        EXPECT_EQ(pImage->GetVerticalResolution(), 72.0f);
    }
}

TEST(Scaling, RefusesWhatIsNoPicture) {
    std::unique_ptr<Image> pImage;
    EXPECT_EQ(ScaleImage(pImage, {9, 9}, false, nullptr), TNG_PRODUCER_GRAPHICS_FAILED);
    EXPECT_FALSE(ConvertImageFormat(true, false, {}, pImage));

    pImage = std::make_unique<Bitmap>(20, 20, k24);
    static_cast<Bitmap&>(*pImage).SetResolution(0, 0);
    EXPECT_EQ(ScaleImage(pImage, {9, 9}, false, nullptr), TNG_PRODUCER_GRAPHICS_FAILED);
    ASSERT_NE(pImage, nullptr) << "it stays, and the failure is forgotten";
    EXPECT_EQ(ScaleImage(pImage, {9, 9}, false, nullptr), TNG_PRODUCER_OK);

    pImage = std::make_unique<Bitmap>(0, 0, k24);
    EXPECT_FALSE(ConvertImageFormat(false, true, {5, 5}, pImage));
    EXPECT_EQ(pImage, nullptr);
}

TEST(Scaling, ConvertsFormats) {
    const struct {
        PixelFormat format;
        bool bPng, bResize;
        PixelFormat expected;
    } cases[] = {{k24, true, false, k24},
                 {k32, true, false, k32},
                 {k32, false, false, k24},
                 {k24, true, true, k32},
                 {k32, false, true, k24}};
    for (const auto& c : cases) {
        std::unique_ptr<Image> pImage = std::make_unique<Bitmap>(20, 10, c.format);
        EXPECT_TRUE(ConvertImageFormat(c.bPng, c.bResize, {30, 5}, pImage));
        EXPECT_EQ(pImage->GetPixelFormat(), c.expected);
        EXPECT_EQ(pImage->GetWidth(), c.bResize ? 30u : 20u);
        const TestSupport::Raster pixels = TestSupport::RasterOf(pImage.get());
        EXPECT_TRUE(pixels.nChannels == 4 || pixels.pixels[0] == 255) << "nothing on white is white";
    }
}

}  // namespace

#include "platform/graphics/Image.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <memory>

#include "platform/graphics/Graphics.h"
#include "support/ImageRaster.h"

namespace {

using namespace Gdiplus;
using namespace TestSupport;

constexpr int kWidth = 5;
constexpr int kHeight = 3;
constexpr PixelFormat kFormats[] = {PixelFormat24bppRGB, PixelFormat32bppARGB};

// Sets all bytes of a rectangle.
void Fill(Bitmap& bitmap, const Rect& rect, PixelFormat format, int value,
          unsigned flags = ImageLockModeWrite) {
    BitmapData data;
    ASSERT_EQ(bitmap.LockBits(&rect, flags, format, &data), Ok);
    EXPECT_EQ(data.Width, static_cast<unsigned>(rect.Width));
    EXPECT_EQ(data.Height, static_cast<unsigned>(rect.Height));
    EXPECT_EQ(data.PixelFormat, format);
    EXPECT_EQ(data.Stride % 4, 0);
    auto* pRow = static_cast<std::uint8_t*>(data.Scan0);
    for (unsigned y = 0; y < data.Height; ++y, pRow += data.Stride)
        std::memset(pRow, value, data.Width * BytesPerPixel(format));
    EXPECT_EQ(bitmap.UnlockBits(&data), Ok);
    EXPECT_EQ(bitmap.UnlockBits(&data), WrongState);
    EXPECT_EQ(bitmap.GetLastStatus(), WrongState);
}

TEST(Image, StartsWhiteOrTransparent) {
    for (const PixelFormat format : kFormats) {
        Bitmap bitmap(kWidth, kHeight, format);
        EXPECT_EQ(bitmap.GetLastStatus(), Ok);
        EXPECT_EQ(bitmap.GetWidth(), 5u);
        EXPECT_EQ(bitmap.GetHeight(), 3u);
        EXPECT_EQ(bitmap.GetPixelFormat(), format);
        const Raster raster = RasterOf(&bitmap);
        for (const std::uint8_t sample : raster.pixels)
            EXPECT_EQ(sample, format == PixelFormat24bppRGB ? 255 : 0);
    }
}

TEST(Image, ThatCannotBeMadeSaysSo) {
    constexpr int kMax = std::numeric_limits<int>::max();
    const struct {
        int width, height;
        PixelFormat format;
    } cases[] = {{0, 1, 0x21808}, {1, 0, 0x21808},       {-1, 1, 0x26200A}, {1, -1, 0x26200A},
                 {1, 1, 0x22009}, {kMax, kMax, 0x21808}, {kMax, 1, 0x21808}};
    for (const auto& c : cases) {
        const Bitmap bitmap(c.width, c.height, c.format);
        EXPECT_NE(bitmap.GetLastStatus(), Ok);
        EXPECT_EQ(bitmap.GetWidth(), 0u);
        EXPECT_EQ(bitmap.GetLastStatus(), InvalidParameter) << "the last failure, until it is read";
        EXPECT_EQ(bitmap.GetLastStatus(), Ok);
        EXPECT_EQ(bitmap.Clone(), nullptr);
    }
}

TEST(Image, PixelsAreReachedInBothFormats) {
    const Rect inner{1, 1, 3, 2};
    for (const PixelFormat format : kFormats) {
        for (const PixelFormat locked : kFormats) {
            for (const bool bWrite : {true, false}) {
                Bitmap bitmap(kWidth, kHeight, format);
                Fill(bitmap, {0, 0, kWidth, kHeight}, format, 255);
                Fill(bitmap, inner, locked, 7, bWrite ? ImageLockModeWrite : ImageLockModeRead);
                // In its own format the pixels are the picture's; 7 in 255 is little of black over white.
                const bool bKept = format != locked && !bWrite;
                const int changed = bKept                           ? 255
                                    : format == locked              ? 7
                                    : format == PixelFormat24bppRGB ? 248
                                                                    : 7;
                const Raster raster = RasterOf(&bitmap);
                for (int y = 0; y < kHeight; ++y) {
                    for (int x = 0; x < kWidth; ++x) {
                        const bool bInside = x >= 1 && x < 4 && y >= 1;
                        const std::uint8_t* p = raster.Row(static_cast<std::size_t>(y)) +
                                                static_cast<unsigned>(x) * raster.nChannels;
                        EXPECT_EQ(p[0], bInside ? changed : 255);
                        if (raster.nChannels == 3) continue;
                        EXPECT_EQ(p[3], bInside && format == locked ? 7 : 255);
                    }
                }
            }
        }
    }
}

TEST(Image, AlphaIsComposedOverWhiteExactly) {
    Bitmap bitmap(256, 256, PixelFormat32bppARGB);
    BitmapData data;
    ASSERT_EQ(bitmap.LockBits(nullptr, ImageLockModeWrite, PixelFormat32bppARGB, &data), Ok);
    for (unsigned i = 0; i < 65536; ++i) {
        auto* p = static_cast<std::uint8_t*>(data.Scan0) + i * 4;
        const auto colour = static_cast<std::uint8_t>(i);
        p[0] = colour, p[1] = static_cast<std::uint8_t>(~colour), p[2] = 255;
        p[3] = static_cast<std::uint8_t>(i >> 8);
    }
    bitmap.UnlockBits(&data);
    const std::unique_ptr<Bitmap> pClone(bitmap.Clone(0, 0, 256, 256, PixelFormat24bppRGB));
    const Raster over = RasterOf(pClone.get());
    for (unsigned i = 0; i < 65536; ++i) {
        const auto exact = [alpha = i >> 8](unsigned c) {
            return static_cast<int>(std::lround((c * alpha + 255.0 * (255 - alpha)) / 255));
        };
        ASSERT_EQ(over.pixels[i * 3], exact(i & 255)) << i;
        ASSERT_EQ(over.pixels[i * 3 + 1], exact(255 - (i & 255))) << i;
        ASSERT_EQ(over.pixels[i * 3 + 2], 255) << i;
    }
}

TEST(Image, RectanglesBeyondThePictureAreRefused) {
    constexpr int kMax = std::numeric_limits<int>::max();
    const Rect outside[] = {{-1, 0, 2, 2},      {0, -1, 2, 2}, {3, 0, 3, 1}, {0, 2, 1, 2},
                            {0, 0, 0, 1},       {0, 0, 1, 0},  {5, 0, 1, 1}, {kMax, 0, kMax, 1},
                            {1, 1, kMax, kMax}, {0, 0, -1, 1}};
    Bitmap bitmap(kWidth, kHeight, PixelFormat24bppRGB);
    Bitmap target(kWidth, kHeight, PixelFormat24bppRGB);
    Graphics surface(&target);
    const Rect one{0, 0, 1, 1};
    for (const Rect& rect : outside) {
        SCOPED_TRACE(testing::Message()
                     << rect.X << ' ' << rect.Y << ' ' << rect.Width << ' ' << rect.Height);
        BitmapData data;
        for (const PixelFormat format : kFormats) {
            EXPECT_EQ(bitmap.LockBits(&rect, ImageLockModeRead, format, &data), InvalidParameter);
            EXPECT_EQ(bitmap.Clone(rect.X, rect.Y, rect.Width, rect.Height, format), nullptr);
        }
        EXPECT_EQ(surface.DrawImage(&bitmap, rect, one, UnitPixel), InvalidParameter);
        EXPECT_EQ(surface.DrawImage(&bitmap, one, rect, UnitPixel), InvalidParameter);
    }
    EXPECT_EQ(surface.DrawImage(&bitmap, one, one, UnitPixel), Ok);
}

TEST(Image, CopiesHavePixelsAndResolutionOfTheirOwn) {
    Bitmap bitmap(kWidth, kHeight, PixelFormat24bppRGB);
    EXPECT_EQ(bitmap.GetHorizontalResolution(), 96.0f);
    EXPECT_EQ(bitmap.SetResolution(300, 72.5f), Ok);
    for (const float bad : {0.0f, -1.0f, std::numeric_limits<float>::quiet_NaN()}) {
        EXPECT_EQ(bitmap.SetResolution(bad, 1), InvalidParameter);
        EXPECT_EQ(bitmap.SetResolution(1, bad), InvalidParameter);
    }
    EXPECT_EQ(bitmap.GetLastStatus(), InvalidParameter);
    Fill(bitmap, {2, 1, 1, 1}, PixelFormat24bppRGB, 9);
    const std::unique_ptr<Image> copies[] = {
        std::unique_ptr<Image>(static_cast<Image&>(bitmap).Clone()),
        std::unique_ptr<Image>(bitmap.Clone(2, 1, 3, 2, PixelFormat32bppARGB))};
    Fill(bitmap, {0, 0, kWidth, kHeight}, PixelFormat24bppRGB, 1);
    for (const auto& pCopy : copies) {
        EXPECT_EQ(pCopy->GetHorizontalResolution(), 300.0f);
        EXPECT_EQ(pCopy->GetVerticalResolution(), 72.5f);
    }
    EXPECT_EQ(RasterOf(copies[0].get()).Row(1)[6], 9);
    EXPECT_EQ(RasterOf(copies[1].get()).pixels[0], 9);
    EXPECT_EQ(RasterOf(copies[1].get()).pixels[4], 255);
}

}  // namespace

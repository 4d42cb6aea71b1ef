#include "platform/graphics/Image.h"

#include <gtest/gtest.h>

#include <algorithm>
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

TEST(Image, StartsWhiteOrTransparent) {
    for (const PixelFormat format : kFormats) {
        Bitmap bitmap(kWidth, kHeight, format);
        EXPECT_EQ(bitmap.GetLastStatus(), Ok);
        EXPECT_EQ(bitmap.GetPixelFormat(), format);
        const int background = format == PixelFormat24bppRGB ? 255 : 0;
        const Raster raster = RasterOf(&bitmap);
        EXPECT_EQ(raster.nWidth, 5u);
        EXPECT_EQ(std::ranges::count(raster.pixels, background), std::ssize(raster.pixels));
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

// A rectangle of a picture that is all 255 is locked, and set to 7 where it is locked.
TEST(Image, PixelsAreReachedInBothFormats) {
    const Rect inner{1, 1, 3, 2};
    const struct {
        PixelFormat format, locked;
        unsigned nFlags;
        int blue, alpha;  // of the rectangle afterwards
    } cases[] = {
        {PixelFormat24bppRGB, PixelFormat24bppRGB, ImageLockModeRead, 7, 255},
        {PixelFormat32bppARGB, PixelFormat32bppARGB, ImageLockModeWrite, 7, 7},
        {PixelFormat24bppRGB, PixelFormat32bppARGB, ImageLockModeRead, 255, 255},
        {PixelFormat32bppARGB, PixelFormat24bppRGB, ImageLockModeRead, 255, 255},
        {PixelFormat32bppARGB, PixelFormat24bppRGB, ImageLockModeWrite, 7, 255},
        {PixelFormat24bppRGB, PixelFormat32bppARGB, ImageLockModeWrite, 248, 255},  // 7 / 255 of 7 on white
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << "case " << &c - cases);
        Bitmap bitmap(kWidth, kHeight, c.format);
        for (const bool bAll : {true, false}) {
            BitmapData data;
            ASSERT_EQ(bitmap.LockBits(bAll ? nullptr : &inner, c.nFlags, bAll ? c.format : c.locked, &data),
                      Ok);
            EXPECT_EQ(data.Stride % 4, 0);
            for (unsigned y = 0; y < data.Height; ++y) {
                std::memset(static_cast<char*>(data.Scan0) + static_cast<int>(y) * data.Stride,
                            bAll ? 255 : 7, data.Width * BytesPerPixel(data.PixelFormat));
            }
            EXPECT_EQ(bitmap.UnlockBits(&data), Ok);
            EXPECT_EQ(bitmap.UnlockBits(&data), WrongState);
        }
        const Raster raster = RasterOf(&bitmap);
        for (unsigned i = 0; i < kWidth * kHeight; ++i) {
            const bool bInside = i >= kWidth && i % kWidth >= 1 && i % kWidth <= 3;
            const std::uint8_t* p = &raster.pixels[std::size_t{i} * raster.nChannels];
            EXPECT_EQ(p[0], bInside ? c.blue : 255);
            EXPECT_EQ(raster.nChannels == 4 ? p[3] : 255, bInside ? c.alpha : 255);
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

}  // namespace

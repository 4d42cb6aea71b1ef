#include "platform/graphics/ResampleKernels.h"
#include "platform/graphics/Resampler.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

#include "support/ImageRaster.h"
#include "support/ReferenceResampler.h"

namespace {

using TestSupport::Raster;

constexpr std::uint8_t kUntouched = 0xA5;
constexpr std::size_t kGap = 5;  // bytes between the rows of a destination

struct Case {
    const char* pszName;
    std::uint32_t srcWidth, srcHeight, dstWidth, dstHeight;
    double extentX = 0;
    double extentY = 0;
    bool bBottomUp = false;
};

const Case kCases[] = {
    {"down to a thumbnail", 500, 375, 160, 120},
    {"down by a whole number", 320, 240, 32, 24},
    {"down a little", 64, 48, 61, 47},
    {"down far, wider than a group of rows", 1031, 771, 7, 5},
    {"own size", 37, 23, 37, 23},
    {"up", 16, 11, 45, 40},
    {"down and up", 300, 9, 31, 64},
    {"one pixel to many", 1, 1, 9, 13},
    {"many to one pixel", 67, 45, 1, 1},
    {"one column", 1, 97, 1, 20},
    {"one row", 97, 1, 20, 1},
    {"two pixels", 2, 2, 3, 5},
    {"widths around a vector", 15, 17, 33, 31},
    {"part of a source pixel beyond the extent", 501, 376, 160, 120, 500.125, 375.5},
    {"less than half of the last pixel", 33, 25, 8, 6, 32.0625, 24.125},
    {"bottom row first", 90, 70, 40, 30, 0, 0, true},
};

struct Formats {
    unsigned src, dst;
};
const Formats kFormats[] = {{3, 3}, {4, 4}, {4, 3}, {3, 4}};

Gdiplus::PixelFormat FormatOf(unsigned channels) {
    return channels == 4 ? Gdiplus::PixelFormat32bppARGB : Gdiplus::PixelFormat24bppRGB;
}

Raster Noise(std::uint32_t width, std::uint32_t height, unsigned channels) {
    Raster raster(width, height, channels);
    std::mt19937 random(width * 31 + height);
    for (auto& sample : raster.pixels)
        sample = static_cast<std::uint8_t>(random());
    return raster;
}

// Hard edges between black, white and pure colours, and a transparent ground that has a colour of its own:
// what rings, bleeds or darkens if colour and alpha are mixed up.
Raster Shapes(std::uint32_t width, std::uint32_t height, unsigned channels) {
    Raster raster(width, height, channels);
    for (std::uint32_t y = 0; y < height; ++y) {
        for (std::uint32_t x = 0; x < width; ++x) {
            std::uint8_t* pixel = raster.Row(y) + std::size_t{x} * channels;
            const std::uint32_t tile = (x / 9 + y / 7) % 5;
            const bool bInside =
                std::hypot(x - width / 2.0, y - height / 2.0) < 0.4 * std::min(width, height);
            pixel[0] = tile == 0 || tile == 4 ? 255 : 0;
            pixel[1] = tile == 1 || tile == 4 ? 255 : 0;
            pixel[2] = tile == 2 || tile == 4 ? 255 : 0;
            if (channels == 4) pixel[3] = bInside ? 255 : tile == 3 ? 128 : 0;
        }
    }
    return raster;
}

Raster Upside(const Raster& raster) {
    Raster turned(raster.nWidth, raster.nHeight, raster.nChannels);
    for (std::uint32_t y = 0; y < raster.nHeight; ++y)
        std::copy_n(raster.Row(raster.nHeight - 1 - y), raster.Stride(), turned.Row(y));
    return turned;
}

// Scales into rows with gaps between them; reports a gap that was written to.
Raster Resample(const Raster& source, const Case& c, unsigned dstChannels,
                const Gdiplus::ResampleKernels* pKernels = nullptr) {
    Raster target(c.dstWidth, c.dstHeight, dstChannels);
    const std::size_t stride = target.Stride() + kGap;
    std::vector<std::uint8_t> memory(stride * c.dstHeight, kUntouched);
    const auto signedStride = static_cast<std::ptrdiff_t>(stride);
    std::uint8_t* pFirst = c.bBottomUp ? &memory[stride * (c.dstHeight - 1)] : memory.data();
    Gdiplus::Resampler resampler({c.srcWidth, c.srcHeight, c.dstWidth, c.dstHeight,
                                  FormatOf(source.nChannels), FormatOf(dstChannels), c.extentX, c.extentY},
                                 pFirst, c.bBottomUp ? -signedStride : signedStride, pKernels);
    for (std::uint32_t y = 0; y < source.nHeight; ++y) {
        // A row of exactly its size, so that a sanitizer sees a read beyond it.
        const std::vector<std::uint8_t> row(source.Row(y), source.Row(y) + source.Stride());
        resampler.AddRow(row.data());
    }
    for (std::uint32_t y = 0; y < c.dstHeight; ++y) {
        std::copy_n(&memory[y * stride], target.Stride(), target.Row(y));
        for (std::size_t i = target.Stride(); i < stride; ++i)
            EXPECT_EQ(memory[y * stride + i], kUntouched);
    }
    return target;
}

void ExpectAgreement(const Case& c, const Raster& source, unsigned dstChannels) {
    const Raster expected =
        TestSupport::ReferenceResample(source, {c.dstWidth, c.dstHeight, dstChannels, c.extentX, c.extentY});
    for (const Gdiplus::ResampleKernels& kernels : Gdiplus::SupportedKernels()) {
        const Raster result = Resample(source, c, dstChannels, &kernels);
        EXPECT_LE(TestSupport::LargestDifference(c.bBottomUp ? Upside(result) : result, expected), 1)
            << c.pszName << ", " << source.nChannels << " to " << dstChannels << " channels, "
            << kernels.pszName;
    }
}

TEST(Resampler, AgreesWithThePlainFilter) {
    for (const Case& c : kCases) {
        for (const Formats& formats : kFormats) {
            ExpectAgreement(c, Noise(c.srcWidth, c.srcHeight, formats.src), formats.dst);
            ExpectAgreement(c, Shapes(c.srcWidth, c.srcHeight, formats.src), formats.dst);
        }
    }
}

TEST(Resampler, GivesFiguresWorkedOutByHand) {
    // Weights of the kernel at 0.25, 0.75 and 1.25 pixels, brought to a sum of 1.
    const Case twice{"", 2, 1, 4, 1};
    Raster source(2, 1, 3);
    source.pixels = {0, 255, 100, 255, 0, 100};
    const std::vector<std::uint8_t> expected = {0, 255, 100, 53, 202, 100, 202, 53, 100, 255, 0, 100};
    EXPECT_EQ(Resample(source, twice, 3).pixels, expected);
    EXPECT_EQ(TestSupport::ReferenceResample(source, {4, 1, 3}).pixels, expected);
}

TEST(Resampler, KeepsWhatHasNothingToFilter) {
    const Raster noise = Noise(53, 31, 3);
    EXPECT_EQ(Resample(noise, {"", 53, 31, 53, 31}, 3).pixels, noise.pixels);

    // A shape of one colour keeps it up to its soft edge, and is not seen on a ground of the same colour.
    Raster shape = Shapes(120, 90, 4);
    for (std::size_t i = 0; i < shape.pixels.size(); ++i) {
        if (i % 4 != 3) shape.pixels[i] = shape.pixels[i - i % 4 + 3] != 0 ? 255 : 0;
    }
    for (const unsigned channels : {3u, 4u}) {
        const Raster small = Resample(shape, {"", 120, 90, 50, 37}, channels);
        for (std::size_t i = 0; i < small.pixels.size(); i += channels) {
            if (channels == 4 && small.pixels[i + 3] == 0) continue;
            for (std::size_t c = 0; c < 3; ++c)
                EXPECT_EQ(small.pixels[i + c], 255);
        }
    }
}

}  // namespace

#include "ReferenceResampler.h"

#include <algorithm>
#include <cmath>

namespace TestSupport {
namespace {

// A picture of floats, `nChannels` to a pixel.
struct Plane {
    std::size_t nWidth;
    std::size_t nHeight;
    unsigned nChannels;
    std::vector<float> values;

    Plane(std::size_t width, std::size_t height, unsigned channels)
        : nWidth(width), nHeight(height), nChannels(channels), values(width * height * channels) {}
    float* Pixel(std::size_t x, std::size_t y) { return &values[(y * nWidth + x) * nChannels]; }
    const float* Pixel(std::size_t x, std::size_t y) const { return &values[(y * nWidth + x) * nChannels]; }
};

struct Taps {
    std::size_t nFirst;
    std::vector<float> weights;
};

double Keys(double distance) {
    const double a = -0.5;
    const double x = std::abs(distance);
    if (x <= 1) return (a + 2) * x * x * x - (a + 3) * x * x + 1;
    if (x < 2) return a * x * x * x - 5 * a * x * x + 8 * a * x - 4 * a;
    return 0;
}

// The source pixels that make destination pixel `dst`, when `extent` of `srcSize` pixels become `dstSize`.
Taps TapsOf(std::size_t dst, std::size_t srcSize, double extent, std::size_t dstSize) {
    const double step = extent / static_cast<double>(dstSize);
    const double widening = std::max(step, 1.0);
    const double centre = (static_cast<double>(dst) + 0.5) * step;
    Taps taps{srcSize, {}};
    double sum = 0;
    for (std::size_t src = 0; src < srcSize; ++src) {
        const double distance = (static_cast<double>(src) + 0.5 - centre) / widening;
        if (distance <= -2) continue;
        if (distance >= 2) break;
        taps.nFirst = std::min(taps.nFirst, src);
        taps.weights.push_back(static_cast<float>(Keys(distance)));
        sum += Keys(distance);
    }
    for (float& weight : taps.weights)
        weight = static_cast<float>(weight / sum);
    return taps;
}

std::vector<Taps> AllTaps(std::size_t srcSize, double extent, std::size_t dstSize) {
    std::vector<Taps> taps;
    for (std::size_t dst = 0; dst < dstSize; ++dst)
        taps.push_back(TapsOf(dst, srcSize, extent, dstSize));
    return taps;
}

Plane FilterHorizontally(const Plane& source, double extent, std::size_t dstWidth) {
    const std::vector<Taps> taps = AllTaps(source.nWidth, extent, dstWidth);
    Plane target(dstWidth, source.nHeight, source.nChannels);
    for (std::size_t y = 0; y < target.nHeight; ++y) {
        for (std::size_t x = 0; x < target.nWidth; ++x) {
            for (std::size_t i = 0; i < taps[x].weights.size(); ++i) {
                for (unsigned c = 0; c < source.nChannels; ++c)
                    target.Pixel(x, y)[c] += taps[x].weights[i] * source.Pixel(taps[x].nFirst + i, y)[c];
            }
        }
    }
    return target;
}

Plane FilterVertically(const Plane& source, double extent, std::size_t dstHeight) {
    const std::vector<Taps> taps = AllTaps(source.nHeight, extent, dstHeight);
    Plane target(source.nWidth, dstHeight, source.nChannels);
    for (std::size_t y = 0; y < target.nHeight; ++y) {
        for (std::size_t i = 0; i < taps[y].weights.size(); ++i) {
            for (std::size_t x = 0; x < target.nWidth; ++x) {
                for (unsigned c = 0; c < source.nChannels; ++c)
                    target.Pixel(x, y)[c] += taps[y].weights[i] * source.Pixel(x, taps[y].nFirst + i)[c];
            }
        }
    }
    return target;
}

// What is filtered: colour times alpha and alpha, or, for a target without alpha, colour over white.
Plane Prepare(const Raster& source, unsigned dstChannels) {
    const unsigned channels = source.nChannels == 4 ? dstChannels : 3;
    Plane plane(source.nWidth, source.nHeight, channels);
    for (std::size_t i = 0; i < std::size_t{source.nWidth} * source.nHeight; ++i) {
        const std::uint8_t* pixel = &source.pixels[i * source.nChannels];
        const float alpha = source.nChannels == 4 ? static_cast<float>(pixel[3]) / 255 : 1;
        const float ground = channels == 3 ? 255 * (1 - alpha) : 0;
        for (unsigned c = 0; c < 3; ++c)
            plane.values[i * channels + c] = alpha * pixel[c] + ground;
        if (channels == 4) plane.values[i * channels + 3] = pixel[3];
    }
    return plane;
}

std::uint8_t Rounded(float value) {
    return static_cast<std::uint8_t>(std::lround(std::clamp(value, 0.0f, 255.0f)));
}

Raster Finish(const Plane& plane, unsigned dstChannels) {
    Raster target(static_cast<std::uint32_t>(plane.nWidth), static_cast<std::uint32_t>(plane.nHeight),
                  dstChannels);
    for (std::size_t i = 0; i < plane.nWidth * plane.nHeight; ++i) {
        const float* pixel = &plane.values[i * plane.nChannels];
        const float alpha = plane.nChannels == 4 ? pixel[3] : 255;
        std::uint8_t* out = &target.pixels[i * dstChannels];
        for (unsigned c = 0; c < 3; ++c)
            out[c] = alpha > 0 ? Rounded(pixel[c] * 255 / alpha) : std::uint8_t{0};
        if (dstChannels == 4) out[3] = Rounded(alpha);
    }
    return target;
}

}  // namespace

Raster ReferenceResample(const Raster& source, const ReferenceTarget& target) {
    const double extentX = target.extentX > 0 ? target.extentX : source.nWidth;
    const double extentY = target.extentY > 0 ? target.extentY : source.nHeight;
    const Plane rows = FilterHorizontally(Prepare(source, target.nChannels), extentX, target.nWidth);
    return Finish(FilterVertically(rows, extentY, target.nHeight), target.nChannels);
}

}  // namespace TestSupport

#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace TestSupport {

/// Pixels in memory: B, G, R, or B, G, R, A with colour not multiplied by alpha; rows from the top, no gaps.
struct Raster {
    std::uint32_t nWidth = 0;
    std::uint32_t nHeight = 0;
    unsigned nChannels = 3;
    std::vector<std::uint8_t> pixels;

    Raster() = default;
    Raster(std::uint32_t width, std::uint32_t height, unsigned channels)
        : nWidth(width),
          nHeight(height),
          nChannels(channels),
          pixels(std::size_t{height} * width * channels) {}

    std::size_t Stride() const { return std::size_t{nWidth} * nChannels; }
    std::uint8_t* Row(std::size_t y) { return pixels.data() + y * Stride(); }
    const std::uint8_t* Row(std::size_t y) const { return pixels.data() + y * Stride(); }
};

}  // namespace TestSupport

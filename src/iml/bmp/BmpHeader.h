#pragma once

#include <array>
#include <cstdint>

#include "iml/ByteSource.h"

enum class BmpCompression : std::uint32_t {
    kNone = 0,
    kRle8 = 1,
    kRle4 = 2,
    kMasks = 3,
    kMasksWithAlpha = 6
};

/// What the headers of a BMP file say, and its colours.
struct BmpHeader {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    bool topDown = false;
    unsigned bits = 0;  // of a pixel: 1, 4, 8, 16, 24 or 32
    BmpCompression compression = BmpCompression::kNone;
    std::uint64_t pixelOffset = 0;         // in the file
    std::array<std::uint32_t, 4> masks{};  // of blue, green, red and alpha, for 16 and 32 bits
    std::array<std::array<std::uint8_t, 3>, 256> palette{};  // B, G, R; black where the file has none

    bool HasAlpha() const { return masks[3] != 0; }
    bool IsRunLength() const {
        return compression == BmpCompression::kRle4 || compression == BmpCompression::kRle8;
    }

    /// Bytes of a stored row, without and with what fills it up to a multiple of four.
    std::uint64_t RowBytes() const { return (std::uint64_t{width} * bits + 7) / 8; }
    std::uint64_t Stride() const { return (RowBytes() + 3) / 4 * 4; }
};

/// False if the header is damaged or of a kind that is not supported, or there are no pixels.
bool ReadBmpHeader(ByteSource& source, BmpHeader& header);

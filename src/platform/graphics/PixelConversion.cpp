#include "PixelConversion.h"

#include <cstring>

namespace Gdiplus {
namespace {

// Exact rounding of value / 255 for value in 0..255 * 255.
std::uint8_t DivideBy255(unsigned value) {
    value += 128;
    return static_cast<std::uint8_t>((value + (value >> 8)) >> 8);
}

void ComposeOverWhite(const std::uint8_t* pFrom, std::uint8_t* pTo, std::size_t nPixels) {
    for (; nPixels > 0; --nPixels, pFrom += 4, pTo += 3) {
        const unsigned alpha = pFrom[3];
        const unsigned white = 255 * (255 - alpha);
        for (int c = 0; c < 3; ++c)
            pTo[c] = DivideBy255(pFrom[c] * alpha + white);
    }
}

void MakeOpaque(const std::uint8_t* pFrom, std::uint8_t* pTo, std::size_t nPixels) {
    for (; nPixels > 0; --nPixels, pFrom += 3, pTo += 4) {
        std::memcpy(pTo, pFrom, 3);
        pTo[3] = 255;
    }
}

}  // namespace

void ConvertPixels(const std::uint8_t* pFrom, PixelFormat from, std::uint8_t* pTo, PixelFormat to,
                   std::size_t nPixels) {
    if (from == to) {
        std::memcpy(pTo, pFrom, nPixels * BytesPerPixel(from));
    } else if (to == PixelFormat24bppRGB) {
        ComposeOverWhite(pFrom, pTo, nPixels);
    } else {
        MakeOpaque(pFrom, pTo, nPixels);
    }
}

}  // namespace Gdiplus

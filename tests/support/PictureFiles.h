#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "Raster.h"

/// Makes picture files in memory, in the variants that decoders have to cope with.
namespace TestSupport {

using Bytes = std::vector<std::uint8_t>;

/// Each channel of each pixel is 0 or 255, so that every depth can hold it; no two rows or columns agree.
Raster ColourPattern(std::uint32_t nWidth, std::uint32_t nHeight);

/// The same with an alpha of 0, 128 or 255; where it is 0, the colour is 0 too.
Raster AlphaPattern(std::uint32_t nWidth, std::uint32_t nHeight);

/// A gradient, which lossy compression hardly changes.
Raster SmoothPattern(std::uint32_t nWidth, std::uint32_t nHeight);

/// The green channel as grey, in 24 bits.
Raster GreyOf(const Raster& picture);

/// The picture on a transparent canvas, which cuts off what does not fit.
Raster OnCanvas(const Raster& picture, std::uint32_t nWidth, std::uint32_t nHeight, std::uint32_t nLeft,
                std::uint32_t nTop);

/// Up to 4 bits hold a picture of ColourPattern()'s colours by index; 1 bit holds its GreyOf().
struct BmpKind {
    unsigned bits = 24;
    std::uint32_t header = 40;  // bytes
    std::uint32_t compression = 0;
    bool topDown = false;
    std::array<std::uint32_t, 4> masks{};  // blue, green, red, alpha
};
Bytes MakeBmp(const Raster& picture, const BmpKind& kind);

/// Colours as ColourPattern() has them.
struct GifKind {
    std::uint32_t canvasWidth = 0;  // 0: as large as the picture
    std::uint32_t canvasHeight = 0;
    std::uint32_t left = 0;
    std::uint32_t top = 0;
    bool interlaced = false;
    bool localColours = false;
    int transparent = -1;  // index: blue has bit 0, green bit 1, red bit 2
};
Bytes MakeGif(const Raster& picture, const GifKind& kind);

Bytes MakeWebp(const Raster& picture, bool lossless);

/// An animation whose first and only frame is the picture, at an even place.
Bytes MakeAnimatedWebp(const Raster& picture, bool lossless, std::uint32_t nCanvasWidth,
                       std::uint32_t nCanvasHeight, std::uint32_t nLeft, std::uint32_t nTop);

/// Values as libtiff names them. Greys are GreyOf() the picture; so is YCbCr without JPEG. Palettes are like
/// those of MakeGif().
struct TiffKind {
    std::uint16_t photometric = 2;
    std::uint16_t bits = 8;
    std::uint16_t compression = 1;
    std::uint32_t rowsPerStrip = 8;
    std::uint32_t tile = 0;   // width and height; 0: strips
    std::uint16_t alpha = 0;  // kind of extra sample
    bool separate = false;
    std::uint16_t orientation = 1;
    const char* pszMode = "w";
};
Bytes MakeTiff(const Raster& picture, const TiffKind& kind);

/// Changes the only value of a tag in a file that MakeTiff() has made in mode "w".
void SetTiffTag(Bytes& file, std::uint16_t nTag, std::uint32_t value);

/// Overwrites bytes with a number, lowest byte first.
void SetNumber(Bytes& bytes, std::size_t nAt, unsigned nBytes, std::uint64_t value);

}  // namespace TestSupport

#pragma once

#include <cstdint>

#include "TiffFile.h"

/// What the samples of a TIFF picture mean.
enum class TiffColour { kMinIsWhite, kMinIsBlack, kPalette, kRgb, kCmyk };
enum class TiffAlpha { kNone, kPlain, kPremultiplied };

/// How a TIFF picture is stored; or, if libtiff has to convert its colours, what libtiff makes of it.
struct TiffLayout {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    TiffColour colour = TiffColour::kRgb;
    TiffAlpha alpha = TiffAlpha::kNone;
    unsigned bits = 8;       // of a sample: 1, 2, 4, 8 or 16
    unsigned samples = 3;    // of a pixel
    bool separate = false;   // each sample has a plane of its own
    bool tiled = false;      // else in strips
    bool converted = false;  // libtiff converts: R, G, B and a byte without meaning

    /// Samples of a pixel that count. They come first.
    unsigned UsedSamples() const;

    /// Planes of which a row is made.
    unsigned Planes() const { return separate ? UsedSamples() : 1; }

    /// Bits and bytes that `nPixels` take in one plane.
    std::uint64_t PlaneBits(std::uint64_t nPixels) const { return nPixels * bits * (separate ? 1 : samples); }
    std::uint64_t PlaneBytes(std::uint64_t nPixels) const { return (PlaneBits(nPixels) + 7) / 8; }
};

/// False if the picture is damaged or of a kind that is not supported.
bool ReadTiffLayout(const TiffFile& file, TiffLayout& layout);

#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "../Export.h"
#include "GdiplusTypes.h"

namespace Gdiplus {

struct ResampleKernels;

/// What a Resampler turns into what. Widths and heights are in pixels.
struct ResampleShape {
    std::uint32_t srcWidth = 0;
    std::uint32_t srcHeight = 0;
    std::uint32_t dstWidth = 0;
    std::uint32_t dstHeight = 0;
    PixelFormat srcFormat = PixelFormat24bppRGB;
    PixelFormat dstFormat = PixelFormat24bppRGB;

    /// The part of the source, from its top left corner, that becomes the whole destination; 0 stands for
    /// all of it. Fractions count: a decoder that reduces 4001 pixels to 501 delivers 500.125 of them.
    double srcExtentX = 0;
    double srcExtentY = 0;
};

/// Scales a picture that arrives row by row, and never holds more than a few of its rows.
///
/// The filter is the cubic convolution of Keys (IEEE Trans. ASSP 29, 1981) with a = -0.5, also known as
/// Catmull-Rom, widened by the reduction so that nothing aliases, in 32-bit floats, rounded to nearest.
/// Colour is weighted by alpha. A source with alpha is composed over white if the destination has none.
class QXPLATFORM_API Resampler {
  public:
    /// Writes to `pDst`, the first pixel of the destination's top row, whose rows lie `nDstStride` bytes
    /// apart. (Give the bottom row and a negative stride for a source that arrives bottom row first.)
    /// `pKernels`: one of SupportedKernels(); null for the fastest. Throws std::bad_alloc.
    Resampler(const ResampleShape& shape, std::uint8_t* pDst, std::ptrdiff_t nDstStride,
              const ResampleKernels* pKernels = nullptr);
    ~Resampler();
    Resampler(const Resampler&) = delete;
    Resampler& operator=(const Resampler&) = delete;

    /// Takes the next source row. The destination is complete when all srcHeight rows have come.
    void AddRow(const std::uint8_t* pRow);

  private:
    struct State;
    std::unique_ptr<State> m_pState;
};

}  // namespace Gdiplus

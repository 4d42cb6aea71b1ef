#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>

#include "GdiplusTypes.h"

namespace Gdiplus {

/// The pixels behind an image object.
class GpImage {
  public:
    /// A new picture in one of the two formats, white or transparent. Null if it is empty, has more than
    /// 2^31 - 1 pixels in a direction, or there is no memory.
    static std::unique_ptr<GpImage> Create(std::int64_t width, std::int64_t height, PixelFormat format);

    /// The same, but its pixels have to be written before they are read.
    static std::unique_ptr<GpImage> CreateUninitialised(std::int64_t width, std::int64_t height,
                                                        PixelFormat format);

    std::unique_ptr<GpImage> Clone() const;

    std::uint32_t Width() const { return m_nWidth; }
    std::uint32_t Height() const { return m_nHeight; }
    PixelFormat Format() const { return m_eFormat; }
    std::size_t Stride() const { return m_nStride; }
    std::uint8_t* Row(std::size_t y) { return m_pPixels.get() + y * m_nStride; }
    const std::uint8_t* Row(std::size_t y) const { return m_pPixels.get() + y * m_nStride; }

    float m_fHorizontalResolution = 96;  // pixels per inch
    float m_fVerticalResolution = 96;

  private:
    struct FreePixels {
        void operator()(std::uint8_t* pPixels) const { std::free(pPixels); }
    };

    std::uint32_t m_nWidth = 0;
    std::uint32_t m_nHeight = 0;
    PixelFormat m_eFormat = 0;
    std::size_t m_nStride = 0;  // bytes; a multiple of 4
    std::unique_ptr<std::uint8_t, FreePixels> m_pPixels;
};

}  // namespace Gdiplus

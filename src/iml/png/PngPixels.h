#pragma once

#include <png.h>

#include <array>
#include <cstddef>
#include <cstdint>

/// How a PNG stores its pixels, and how B, G, R or B, G, R, A is made of them.
class PngPixels {
  public:
    /// After the header has been read.
    PngPixels(png_structp pPng, png_infop pInfo);

    /// Whether Convert() and UnfilterPngRow() do for it. They do not for what is interlaced, what has a
    /// transparent colour of three channels or 16 bits, and grey of 16 bits with alpha.
    bool IsKnown() const { return m_bKnown; }

    /// The picture can be transparent.
    bool HasAlpha() const { return m_bAlpha; }

    /// Bytes of a pixel, as filters go by it: at least 1.
    unsigned PixelBytes() const { return (m_nChannels * m_nBits + 7) / 8; }

    std::size_t RowBytes(std::uint32_t nWidth) const {
        return (std::size_t{nWidth} * m_nChannels * m_nBits + 7) / 8;
    }

    /// Whether a row out of UnfilterPngRow() is ready. Others go through Convert(), which takes `nWidth`
    /// pixels and writes a byte more than the result has.
    bool IsPlain() const { return m_nBits == 8 && m_nChannels >= 3; }
    void Convert(const std::uint8_t* pRow, std::uint32_t nWidth, std::uint8_t* pOut) const;

  private:
    void MakeGreys();
    void TakePalette(png_structp pPng, png_infop pInfo);
    void LookUp(const std::uint8_t* pRow, std::uint32_t nWidth, std::uint8_t* pOut) const;

    unsigned m_nChannels;  // 1 is grey or an index
    unsigned m_nBits;      // of a channel
    bool m_bAlpha;
    bool m_bKnown;
    std::array<std::array<std::uint8_t, 4>, 256> m_colours{};  // B, G, R, A by the value of a single channel
};

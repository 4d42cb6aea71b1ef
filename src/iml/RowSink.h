#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "platform/graphics/GdiplusTypes.h"

namespace Gdiplus {
class Bitmap;
class Resampler;
}  // namespace Gdiplus

/// The rows that a decoder is going to deliver.
struct RowShape {
    std::uint32_t width = 0;   // pixels
    std::uint32_t height = 0;  // rows
    /// PixelFormat24bppRGB, or PixelFormat32bppARGB if the picture can be transparent.
    Gdiplus::PixelFormat format = Gdiplus::PixelFormat24bppRGB;
    /// How much of a reduced picture is real, in its own pixels; 0: all. See Gdiplus::ResampleShape.
    double extentX = 0;
    double extentY = 0;
    /// The bottom row comes first.
    bool bottomUp = false;
};

/// Where the pixels of an image go.
struct PixelPlace {
    std::uint8_t* pTopRow = nullptr;
    std::ptrdiff_t nStride = 0;  // bytes from a row to the one below
};

/// Takes the rows of a picture from its decoder and makes an image of a given size of them. No memory is
/// taken before the first row has come, so a header that promises too much costs nothing.
class RowSink {
  public:
    /// The image gets this size and format, in pixels; (0, 0) stands for the size of the rows.
    RowSink(std::uint32_t width, std::uint32_t height, Gdiplus::PixelFormat format);

    /// The pixels go to a place of the caller's, and the size is given.
    RowSink(std::uint32_t width, std::uint32_t height, Gdiplus::PixelFormat format, const PixelPlace& place);
    ~RowSink();
    RowSink(const RowSink&) = delete;
    RowSink& operator=(const RowSink&) = delete;

    /// Size of the image asked for; 0 for the size of the rows. Decoders that can reduce go by it.
    std::uint32_t TargetWidth() const { return m_nWidth; }
    std::uint32_t TargetHeight() const { return m_nHeight; }

    /// Announces the rows, before the first. What had come before is forgotten.
    void Begin(const RowShape& shape);

    /// Forgets all rows: they were wrong. Another decoder may begin.
    void Discard();

    /// Takes the next row, in the announced format. Rows beyond the announced number are dropped.
    /// Throws std::bad_alloc.
    void AddRow(const std::uint8_t* pRow);

    /// Rows that have come.
    std::uint32_t RowsTaken() const { return m_nRowsTaken; }

    /// Ends the picture: what has not come is white or transparent. False if no row has come.
    bool Complete();

    /// The same; the image, or null. For a sink without a place of the caller's.
    std::unique_ptr<Gdiplus::Bitmap> Finish();

  private:
    void Prepare();
    PixelPlace MakeBitmap(std::uint32_t width, std::uint32_t height);

    std::uint32_t m_nWidth;
    std::uint32_t m_nHeight;
    Gdiplus::PixelFormat m_eFormat;
    const PixelPlace m_place{};  // the caller's
    RowShape m_shape;
    std::uint32_t m_nRowsTaken = 0;
    std::unique_ptr<Gdiplus::Bitmap> m_pBitmap;
    std::uint8_t* m_pFirstRow = nullptr;               // where the first row to come lies in the image
    std::ptrdiff_t m_nStride = 0;                      // from there to the next
    std::unique_ptr<Gdiplus::Resampler> m_pResampler;  // null while rows are copied as they are
};

#include "RowSink.h"

#include <cstddef>
#include <new>
#include <vector>

#include "platform/graphics/Image.h"
#include "platform/graphics/PixelConversion.h"
#include "platform/graphics/Resampler.h"

using namespace Gdiplus;

RowSink::RowSink(std::uint32_t width, std::uint32_t height, PixelFormat format)
    : m_nWidth(width), m_nHeight(height), m_eFormat(format) {}

RowSink::RowSink(std::uint32_t width, std::uint32_t height, PixelFormat format, const PixelPlace& place)
    : m_nWidth(width), m_nHeight(height), m_eFormat(format), m_place(place) {}

RowSink::~RowSink() = default;

void RowSink::Begin(const RowShape& shape) {
    Discard();
    m_shape = shape;
}

void RowSink::Discard() {
    m_pResampler.reset();  // writes into the bitmap
    m_pBitmap.reset();
    m_nRowsTaken = 0;
    m_shape = {};
}

PixelPlace RowSink::MakeBitmap(std::uint32_t width, std::uint32_t height) {
    // Every row of it is going to be written.
    m_pBitmap = Bitmap::CreateUninitialised(static_cast<int>(width), static_cast<int>(height), m_eFormat);
    BitmapData pixels;
    if (!m_pBitmap || m_pBitmap->LockBits(nullptr, ImageLockModeWrite, m_eFormat, &pixels) != Ok)
        throw std::bad_alloc();
    const PixelPlace place{static_cast<std::uint8_t*>(pixels.Scan0), pixels.Stride};
    m_pBitmap->UnlockBits(&pixels);  // the pixels are the bitmap's own and stay where they are
    return place;
}

void RowSink::Prepare() {
    const std::uint32_t width = m_nWidth != 0 ? m_nWidth : m_shape.width;
    const std::uint32_t height = m_nHeight != 0 ? m_nHeight : m_shape.height;
    const PixelPlace place = m_place.pTopRow ? m_place : MakeBitmap(width, height);
    m_nStride = place.nStride;
    m_pFirstRow = place.pTopRow;
    if (m_shape.bottomUp) {
        m_pFirstRow += static_cast<std::ptrdiff_t>(height - 1) * m_nStride;
        m_nStride = -m_nStride;
    }

    const bool sameSize = width == m_shape.width && height == m_shape.height;
    const bool whole = m_shape.extentX == 0 && m_shape.extentY == 0;
    if (sameSize && whole) return;
    ResampleShape resample;
    resample.srcWidth = m_shape.width;
    resample.srcHeight = m_shape.height;
    resample.dstWidth = width;
    resample.dstHeight = height;
    resample.srcFormat = m_shape.format;
    resample.dstFormat = m_eFormat;
    resample.srcExtentX = m_shape.extentX;
    resample.srcExtentY = m_shape.extentY;
    m_pResampler = std::make_unique<Resampler>(resample, m_pFirstRow, m_nStride);
}

void RowSink::AddRow(const std::uint8_t* pRow) {
    if (m_nRowsTaken == m_shape.height) return;
    if (m_nRowsTaken == 0) Prepare();
    if (m_pResampler) {
        m_pResampler->AddRow(pRow);
    } else {
        std::uint8_t* pTo = m_pFirstRow + static_cast<std::ptrdiff_t>(m_nRowsTaken) * m_nStride;
        ConvertPixels(pRow, m_shape.format, pTo, m_eFormat, m_shape.width);
    }
    ++m_nRowsTaken;
}

std::unique_ptr<Bitmap> RowSink::Finish() {
    return Complete() ? std::move(m_pBitmap) : nullptr;
}

bool RowSink::Complete() {
    if (m_nRowsTaken == 0) return false;
    if (m_nRowsTaken < m_shape.height) {
        const std::uint8_t background = m_shape.format == PixelFormat24bppRGB ? 0xFF : 0;
        const std::vector<std::uint8_t> blank(std::size_t{m_shape.width} * BytesPerPixel(m_shape.format),
                                              background);
        while (m_nRowsTaken < m_shape.height)
            AddRow(blank.data());
    }
    return true;
}

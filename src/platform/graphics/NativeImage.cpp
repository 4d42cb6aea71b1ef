#include "NativeImage.h"

#include <cstring>
#include <limits>
#include <new>

namespace Gdiplus {

std::unique_ptr<GpImage> GpImage::CreateUninitialised(std::int64_t width, std::int64_t height,
                                                      PixelFormat format) {
    constexpr std::int64_t kLargest = std::numeric_limits<std::int32_t>::max();
    if (format != PixelFormat24bppRGB && format != PixelFormat32bppARGB) return nullptr;
    if (width <= 0 || height <= 0 || width > kLargest / 4 - 1 || height > kLargest) return nullptr;

    std::unique_ptr<GpImage> pImage(new (std::nothrow) GpImage);
    if (!pImage) return nullptr;
    pImage->m_nWidth = static_cast<std::uint32_t>(width);
    pImage->m_nHeight = static_cast<std::uint32_t>(height);
    pImage->m_eFormat = format;
    pImage->m_nStride = (static_cast<std::size_t>(width) * BytesPerPixel(format) + 3) / 4 * 4;
    pImage->m_pPixels.reset(static_cast<std::uint8_t*>(std::malloc(pImage->m_nStride * pImage->m_nHeight)));
    if (!pImage->m_pPixels) return nullptr;
    // What fills a row up is nobody's to write, but is copied with it.
    const std::size_t used = static_cast<std::size_t>(width) * BytesPerPixel(format);
    for (std::size_t y = 0; used < pImage->m_nStride && y < pImage->m_nHeight; ++y)
        std::memset(pImage->Row(y) + used, 0, pImage->m_nStride - used);
    return pImage;
}

std::unique_ptr<GpImage> GpImage::Create(std::int64_t width, std::int64_t height, PixelFormat format) {
    auto pImage = CreateUninitialised(width, height, format);
    if (pImage) {
        const int background = format == PixelFormat24bppRGB ? 0xFF : 0;
        std::memset(pImage->Row(0), background, pImage->m_nStride * pImage->m_nHeight);
    }
    return pImage;
}

std::unique_ptr<GpImage> GpImage::Clone() const {
    auto pCopy = CreateUninitialised(m_nWidth, m_nHeight, m_eFormat);
    if (!pCopy) return nullptr;
    pCopy->m_fHorizontalResolution = m_fHorizontalResolution;
    pCopy->m_fVerticalResolution = m_fVerticalResolution;
    std::memcpy(pCopy->Row(0), Row(0), m_nStride * m_nHeight);
    return pCopy;
}

}  // namespace Gdiplus

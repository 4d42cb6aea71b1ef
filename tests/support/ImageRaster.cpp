#include "ImageRaster.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "platform/graphics/Image.h"

namespace TestSupport {

Raster RasterOf(Gdiplus::Image* pImage) {
    auto* pBitmap = dynamic_cast<Gdiplus::Bitmap*>(pImage);
    if (!pBitmap) return {};
    const Gdiplus::PixelFormat format = pBitmap->GetPixelFormat();
    Raster raster(pBitmap->GetWidth(), pBitmap->GetHeight(), Gdiplus::BytesPerPixel(format));
    Gdiplus::BitmapData pixels;
    if (pBitmap->LockBits(nullptr, Gdiplus::ImageLockModeRead, format, &pixels) != Gdiplus::Ok) return {};
    const auto* pRow = static_cast<const std::uint8_t*>(pixels.Scan0);
    for (unsigned y = 0; y < pixels.Height; ++y, pRow += pixels.Stride)
        std::memcpy(raster.Row(y), pRow, raster.Stride());
    pBitmap->UnlockBits(&pixels);
    return raster;
}

int LargestDifference(const Raster& one, const Raster& other) {
    const unsigned channels = one.nChannels;
    if (one.nWidth != other.nWidth || one.nHeight != other.nHeight || channels != other.nChannels) return 256;
    int largest = 0;
    for (std::size_t i = 0; i < one.pixels.size(); ++i) {
        const std::size_t alpha = i - i % channels + 3;
        if (channels == 4 && one.pixels[alpha] == 0 && other.pixels[alpha] == 0) continue;
        largest = std::max(largest, std::abs(one.pixels[i] - other.pixels[i]));
    }
    return largest;
}

Raster FirstRows(const Raster& picture, std::uint32_t nRows) {
    Raster rows(picture.nWidth, nRows, picture.nChannels);
    std::copy_n(picture.pixels.begin(), rows.pixels.size(), rows.pixels.begin());
    return rows;
}

Raster LumaOf(const Raster& picture) {
    Raster luma(picture.nWidth, picture.nHeight, 3);
    for (std::size_t i = 0; i < luma.pixels.size(); ++i) {
        const std::uint8_t* p = &picture.pixels[i / 3 * picture.nChannels];
        luma.pixels[i] = static_cast<std::uint8_t>(0.114 * p[0] + 0.587 * p[1] + 0.299 * p[2] + 0.5);
    }
    return luma;
}

}  // namespace TestSupport

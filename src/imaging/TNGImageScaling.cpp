#include "TNGImageScaling.h"

#include <algorithm>

#include "platform/graphics/FlatApi.h"
#include "platform/graphics/Graphics.h"

using Gdiplus::Bitmap;
using Gdiplus::Image;
using Gdiplus::PixelFormat;
using Gdiplus::PixelFormat24bppRGB;
using Gdiplus::PixelFormat32bppARGB;

namespace {

// The ratio of two lengths in single precision, as the sizes in existing caches were made.
float RatioOf(std::uint32_t box, std::uint32_t source) {
    return static_cast<float>(static_cast<double>(static_cast<float>(box)) / static_cast<float>(source));
}

std::uint32_t Scaled(std::uint32_t source, float ratio, std::uint32_t box) {
    const double exact = static_cast<double>(static_cast<float>(source)) * static_cast<double>(ratio) + 0.5;
    return std::max(std::min(static_cast<std::uint32_t>(exact), box), 1u);
}

}  // namespace

TNGSize FitIntoBox(const TNGSize& source, const TNGSize& box) {
    const float ratio = std::min(RatioOf(box.nWidth, source.nWidth), RatioOf(box.nHeight, source.nHeight));
    return {Scaled(source.nWidth, ratio, box.nWidth), Scaled(source.nHeight, ratio, box.nHeight)};
}

TNGSize SizeOf(const Image& image) {
    return {image.GetWidth(), image.GetHeight()};
}

std::unique_ptr<Image> CloneArea(const Image& image, int x, int y, const TNGSize& size, PixelFormat format) {
    Gdiplus::GpImage* pCopy = nullptr;
    const Gdiplus::Status status = Gdiplus::DllExports::GdipCloneBitmapAreaI(
        x, y, static_cast<int>(size.nWidth), static_cast<int>(size.nHeight), format, image.GetNativeImage(),
        &pCopy);
    if (status != Gdiplus::Ok) return nullptr;
    std::unique_ptr<Gdiplus::GpImage, Gdiplus::Status (*)(Gdiplus::GpImage*)> owner(
        pCopy, &Gdiplus::DllExports::GdipDisposeImage);
    auto pClone = std::make_unique<Bitmap>(pCopy);
    owner.release();
    return pClone;
}

bool Redraw(std::unique_ptr<Image>& pImage, const TNGSize& size, PixelFormat format) {
    const Gdiplus::Rect to{0, 0, static_cast<int>(size.nWidth), static_cast<int>(size.nHeight)};
    auto pRedrawn = std::make_unique<Bitmap>(to.Width, to.Height, format);
    if (pRedrawn->GetLastStatus() != Gdiplus::Ok) return false;
    const float vertical = pImage->GetVerticalResolution();
    const float horizontal = pImage->GetHorizontalResolution();
    if (pRedrawn->SetResolution(horizontal, vertical) != Gdiplus::Ok) return false;

    const TNGSize whole = SizeOf(*pImage);
    Gdiplus::Graphics surface(pRedrawn.get());
    surface.SetInterpolationMode(Gdiplus::InterpolationModeHighQualityBicubic);
    surface.SetPixelOffsetMode(Gdiplus::PixelOffsetModeHighQuality);
    surface.SetSmoothingMode(Gdiplus::SmoothingModeHighQuality);
    surface.DrawImage(pImage.get(), to,
                      {0, 0, static_cast<int>(whole.nWidth), static_cast<int>(whole.nHeight)},
                      Gdiplus::UnitPixel);
    pImage = std::move(pRedrawn);
    return true;
}

TNGProducerStatus ScaleImage(std::unique_ptr<Image>& pImage, const TNGSize& box, bool bPng, bool* pbScaled) {
    if (!pImage || pImage->GetLastStatus() != Gdiplus::Ok) return TNG_PRODUCER_GRAPHICS_FAILED;
    const TNGSize size = SizeOf(*pImage);
    const bool bFits = size.nWidth <= box.nWidth && size.nHeight <= box.nHeight;
    if (pbScaled) *pbScaled = !bFits;
    if (bFits) return TNG_PRODUCER_OK;
    const PixelFormat format = bPng ? PixelFormat32bppARGB : PixelFormat24bppRGB;
    return Redraw(pImage, FitIntoBox(size, box), format) ? TNG_PRODUCER_OK : TNG_PRODUCER_GRAPHICS_FAILED;
}

bool ConvertImageFormat(bool bPng, bool bResize, const TNGSize& size, std::unique_ptr<Image>& pImage) {
    if (!pImage) return false;
    TNGSize newSize = size;
    if (!bResize) {
        newSize = SizeOf(*pImage);
        if (bPng || pImage->GetPixelFormat() == PixelFormat24bppRGB) return true;
        if (auto pClone = CloneArea(*pImage, 0, 0, newSize, PixelFormat24bppRGB)) {
            pImage = std::move(pClone);
            return true;
        }
    }
    if (Redraw(pImage, newSize, bPng ? PixelFormat32bppARGB : PixelFormat24bppRGB)) return true;
    pImage = nullptr;
    return false;
}

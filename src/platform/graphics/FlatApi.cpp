#include "FlatApi.h"

#include <cstdlib>
#include <memory>
#include <new>

#include "NativeImage.h"
#include "PixelConversion.h"
#include "Resampler.h"

namespace Gdiplus {

class GpGraphics {
  public:
    explicit GpGraphics(GpImage& target) : m_target(target) {}
    GpImage& m_target;
};

namespace DllExports {
namespace {

bool LiesWithin(const GpImage& image, const Rect& r) {
    return r.X >= 0 && r.Y >= 0 && r.Width > 0 && r.Height > 0 &&
           std::int64_t{r.X} + r.Width <= image.Width() && std::int64_t{r.Y} + r.Height <= image.Height();
}

std::uint8_t* PixelAt(GpImage& image, int x, int y) {
    return image.Row(static_cast<std::size_t>(y)) +
           static_cast<std::size_t>(x) * BytesPerPixel(image.Format());
}

template <typename T>
Status Give(GpImage* pImage, T* pOut, T (*read)(const GpImage&)) {
    if (!pImage || !pOut) return InvalidParameter;
    *pOut = read(*pImage);
    return Ok;
}

Status HandOver(std::unique_ptr<GpImage> pImage, GpImage** ppOut) {
    if (!pImage) return OutOfMemory;
    *ppOut = pImage.release();
    return Ok;
}

Status CheckSurface(GpGraphics* pGraphics, bool supported) {
    return pGraphics && supported ? Ok : InvalidParameter;
}

// A locked copy in another format: where its pixels go back to, if they do.
struct ConvertedLock {
    std::unique_ptr<GpImage> pCopy;
    Rect rect;
    bool bWriteBack = false;
};

}  // namespace

void* GdipAlloc(std::size_t nSize) {
    return std::malloc(nSize);
}

void GdipFree(void* pBlock) {
    std::free(pBlock);
}

Status GdipCreateBitmapFromScan0(int nWidth, int nHeight, int nStride, PixelFormat format,
                                 unsigned char* pScan0, GpImage** ppBitmap) {
    if (!ppBitmap || nStride != 0 || pScan0 || nWidth <= 0 || nHeight <= 0) return InvalidParameter;
    return HandOver(GpImage::Create(nWidth, nHeight, format), ppBitmap);
}

Status GdipCloneBitmapAreaI(int x, int y, int nWidth, int nHeight, PixelFormat format, GpImage* pSource,
                            GpImage** ppCopy) {
    if (!pSource || !ppCopy || !LiesWithin(*pSource, {x, y, nWidth, nHeight})) return InvalidParameter;
    auto pCopy = GpImage::Create(nWidth, nHeight, format);
    if (!pCopy) return OutOfMemory;
    pCopy->m_fHorizontalResolution = pSource->m_fHorizontalResolution;
    pCopy->m_fVerticalResolution = pSource->m_fVerticalResolution;
    for (int row = 0; row < nHeight; ++row) {
        ConvertPixels(PixelAt(*pSource, x, y + row), pSource->Format(), PixelAt(*pCopy, 0, row), format,
                      pCopy->Width());
    }
    return HandOver(std::move(pCopy), ppCopy);
}

Status GdipCloneImage(GpImage* pImage, GpImage** ppCopy) {
    if (!pImage || !ppCopy) return InvalidParameter;
    return HandOver(pImage->Clone(), ppCopy);
}

Status GdipDisposeImage(GpImage* pImage) {
    delete pImage;
    return pImage ? Ok : InvalidParameter;
}

Status GdipGetImageWidth(GpImage* pImage, unsigned* pnPixels) {
    return Give<unsigned>(pImage, pnPixels, [](const GpImage& image) { return image.Width(); });
}

Status GdipGetImageHeight(GpImage* pImage, unsigned* pnPixels) {
    return Give<unsigned>(pImage, pnPixels, [](const GpImage& image) { return image.Height(); });
}

Status GdipGetImagePixelFormat(GpImage* pImage, PixelFormat* pFormat) {
    return Give<PixelFormat>(pImage, pFormat, [](const GpImage& image) { return image.Format(); });
}

Status GdipGetImageHorizontalResolution(GpImage* pImage, float* pPixelsPerInch) {
    return Give<float>(pImage, pPixelsPerInch,
                       [](const GpImage& image) { return image.m_fHorizontalResolution; });
}

Status GdipGetImageVerticalResolution(GpImage* pImage, float* pPixelsPerInch) {
    return Give<float>(pImage, pPixelsPerInch,
                       [](const GpImage& image) { return image.m_fVerticalResolution; });
}

Status GdipBitmapSetResolution(GpImage* pBitmap, float horizontal, float vertical) {
    if (!pBitmap || !(horizontal > 0) || !(vertical > 0)) return InvalidParameter;
    pBitmap->m_fHorizontalResolution = horizontal;
    pBitmap->m_fVerticalResolution = vertical;
    return Ok;
}

Status GdipBitmapLockBits(GpImage* pBitmap, const Rect* pRect, unsigned nFlags, PixelFormat format,
                          BitmapData* pData) {
    if (!pBitmap || !pData) return InvalidParameter;
    const Rect whole{0, 0, static_cast<int>(pBitmap->Width()), static_cast<int>(pBitmap->Height())};
    const Rect rect = pRect ? *pRect : whole;
    if (!LiesWithin(*pBitmap, rect)) return InvalidParameter;

    GpImage* pLocked = pBitmap;
    ConvertedLock* pConverted = nullptr;
    if (format != pBitmap->Format()) {
        GpImage* pCopy = nullptr;
        const Status status =
            GdipCloneBitmapAreaI(rect.X, rect.Y, rect.Width, rect.Height, format, pBitmap, &pCopy);
        if (status != Ok) return status;
        pLocked = pCopy;
        pConverted = new (std::nothrow)
            ConvertedLock{std::unique_ptr<GpImage>(pCopy), rect, (nFlags & ImageLockModeWrite) != 0};
        if (!pConverted) {
            delete pCopy;
            return OutOfMemory;
        }
    }
    pData->Width = static_cast<unsigned>(rect.Width);
    pData->Height = static_cast<unsigned>(rect.Height);
    pData->Stride = static_cast<int>(pLocked->Stride());
    pData->PixelFormat = format;
    pData->Scan0 = pConverted ? pLocked->Row(0) : PixelAt(*pBitmap, rect.X, rect.Y);
    pData->Reserved = reinterpret_cast<std::uintptr_t>(pConverted);
    return Ok;
}

Status GdipBitmapUnlockBits(GpImage* pBitmap, BitmapData* pData) {
    if (!pBitmap || !pData || !pData->Scan0) return WrongState;
    pData->Scan0 = nullptr;
    const std::unique_ptr<ConvertedLock> pConverted(reinterpret_cast<ConvertedLock*>(pData->Reserved));
    if (!pConverted || !pConverted->bWriteBack) return Ok;
    GpImage& copy = *pConverted->pCopy;
    for (int row = 0; row < pConverted->rect.Height; ++row) {
        ConvertPixels(PixelAt(copy, 0, row), copy.Format(),
                      PixelAt(*pBitmap, pConverted->rect.X, pConverted->rect.Y + row), pBitmap->Format(),
                      copy.Width());
    }
    return Ok;
}

Status GdipGetImageGraphicsContext(GpImage* pImage, GpGraphics** ppGraphics) {
    if (!pImage || !ppGraphics) return InvalidParameter;
    auto* pGraphics = new (std::nothrow) GpGraphics(*pImage);
    if (!pGraphics) return OutOfMemory;
    *ppGraphics = pGraphics;
    return Ok;
}

Status GdipDeleteGraphics(GpGraphics* pGraphics) {
    delete pGraphics;
    return pGraphics ? Ok : InvalidParameter;
}

Status GdipSetInterpolationMode(GpGraphics* pGraphics, InterpolationMode mode) {
    return CheckSurface(pGraphics, mode == InterpolationModeHighQualityBicubic);
}

Status GdipSetPixelOffsetMode(GpGraphics* pGraphics, PixelOffsetMode mode) {
    return CheckSurface(pGraphics, mode == PixelOffsetModeHighQuality);
}

Status GdipSetSmoothingMode(GpGraphics* pGraphics, SmoothingMode mode) {
    return CheckSurface(pGraphics, mode == SmoothingModeHighQuality);
}

Status GdipDrawImageRectRectI(GpGraphics* pGraphics, GpImage* pImage, int dstX, int dstY, int dstWidth,
                              int dstHeight, int srcX, int srcY, int srcWidth, int srcHeight, Unit unit,
                              const void* pAttributes, void* pCallback, void* pCallbackData) {
    if (!pGraphics || !pImage || unit != UnitPixel || pAttributes || pCallback || pCallbackData)
        return InvalidParameter;
    GpImage& target = pGraphics->m_target;
    if (!LiesWithin(target, {dstX, dstY, dstWidth, dstHeight}) ||
        !LiesWithin(*pImage, {srcX, srcY, srcWidth, srcHeight})) {
        return InvalidParameter;
    }
    ResampleShape shape;
    shape.srcWidth = static_cast<std::uint32_t>(srcWidth);
    shape.srcHeight = static_cast<std::uint32_t>(srcHeight);
    shape.dstWidth = static_cast<std::uint32_t>(dstWidth);
    shape.dstHeight = static_cast<std::uint32_t>(dstHeight);
    shape.srcFormat = pImage->Format();
    shape.dstFormat = target.Format();
    try {
        Resampler resampler(shape, PixelAt(target, dstX, dstY), static_cast<std::ptrdiff_t>(target.Stride()));
        for (int row = 0; row < srcHeight; ++row)
            resampler.AddRow(PixelAt(*pImage, srcX, srcY + row));
    } catch (const std::bad_alloc&) {
        return OutOfMemory;
    }
    return Ok;
}

}  // namespace DllExports
}  // namespace Gdiplus

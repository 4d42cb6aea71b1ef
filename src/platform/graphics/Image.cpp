#include "Image.h"

#include <new>

#include "FlatApi.h"
#include "NativeImage.h"

namespace Gdiplus {

using namespace DllExports;

void* GdiplusBase::operator new(std::size_t nSize) {
    void* pObject = GdipAlloc(nSize);
    if (!pObject) throw std::bad_alloc();
    return pObject;
}

void GdiplusBase::operator delete(void* pObject) {
    GdipFree(pObject);
}

namespace {

// Takes over a native picture; null, and the picture is gone, if there is no memory for the object.
Bitmap* Adopt(GpImage* pNativeImage) {
    try {
        return new Bitmap(pNativeImage);
    } catch (const std::bad_alloc&) {
        GdipDisposeImage(pNativeImage);
        return nullptr;
    }
}

}  // namespace

Image::~Image() {
    GdipDisposeImage(m_pNativeImage);
}

Image* Image::Clone() const {
    GpImage* pCopy = nullptr;
    return SetStatus(GdipCloneImage(m_pNativeImage, &pCopy)) == Ok ? Adopt(pCopy) : nullptr;
}

Status Image::GetLastStatus() const {
    const Status status = m_eLastStatus;
    m_eLastStatus = Ok;
    return status;
}

unsigned Image::GetWidth() const {
    unsigned nPixels = 0;
    SetStatus(GdipGetImageWidth(m_pNativeImage, &nPixels));
    return nPixels;
}

unsigned Image::GetHeight() const {
    unsigned nPixels = 0;
    SetStatus(GdipGetImageHeight(m_pNativeImage, &nPixels));
    return nPixels;
}

PixelFormat Image::GetPixelFormat() const {
    PixelFormat format = 0;
    SetStatus(GdipGetImagePixelFormat(m_pNativeImage, &format));
    return format;
}

float Image::GetHorizontalResolution() const {
    float pixelsPerInch = 0;
    SetStatus(GdipGetImageHorizontalResolution(m_pNativeImage, &pixelsPerInch));
    return pixelsPerInch;
}

float Image::GetVerticalResolution() const {
    float pixelsPerInch = 0;
    SetStatus(GdipGetImageVerticalResolution(m_pNativeImage, &pixelsPerInch));
    return pixelsPerInch;
}

Bitmap::Bitmap(int nWidth, int nHeight, PixelFormat format) : Image(nullptr, Ok) {
    SetStatus(GdipCreateBitmapFromScan0(nWidth, nHeight, 0, format, nullptr, &m_pNativeImage));
}

std::unique_ptr<Bitmap> Bitmap::CreateUninitialised(int nWidth, int nHeight, PixelFormat format) {
    std::unique_ptr<GpImage> pImage = GpImage::CreateUninitialised(nWidth, nHeight, format);
    if (!pImage) return nullptr;
    auto pBitmap = std::make_unique<Bitmap>(pImage.get());
    static_cast<void>(pImage.release());  // the bitmap's now
    return pBitmap;
}

Bitmap::Bitmap(GpImage* pNativeImage) : Image(pNativeImage, Ok) {}

Bitmap::~Bitmap() = default;

Bitmap* Bitmap::Clone() const {
    return static_cast<Bitmap*>(Image::Clone());
}

Bitmap* Bitmap::Clone(int x, int y, int nWidth, int nHeight, PixelFormat format) const {
    GpImage* pCopy = nullptr;
    const Status status = GdipCloneBitmapAreaI(x, y, nWidth, nHeight, format, m_pNativeImage, &pCopy);
    return SetStatus(status) == Ok ? Adopt(pCopy) : nullptr;
}

Status Bitmap::SetResolution(float horizontal, float vertical) {
    return SetStatus(GdipBitmapSetResolution(m_pNativeImage, horizontal, vertical));
}

Status Bitmap::LockBits(const Rect* pRect, unsigned nFlags, PixelFormat format, BitmapData* pData) {
    return SetStatus(GdipBitmapLockBits(m_pNativeImage, pRect, nFlags, format, pData));
}

Status Bitmap::UnlockBits(BitmapData* pData) {
    return SetStatus(GdipBitmapUnlockBits(m_pNativeImage, pData));
}

}  // namespace Gdiplus

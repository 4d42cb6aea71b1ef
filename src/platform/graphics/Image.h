#pragma once

#include <cstddef>
#include <memory>

#include "../Export.h"
#include "GdiplusTypes.h"

namespace Gdiplus {

class GpImage;

/// Puts the objects of this layer on its own heap, so that `delete` works in every library.
class QXPLATFORM_API GdiplusBase {
  public:
    static void* operator new(std::size_t nSize);
    static void operator delete(void* pObject);
    static void* operator new[](std::size_t) = delete;
    static void operator delete[](void*) = delete;
};

/// A picture in memory. Whoever holds the pointer owns it and releases it with `delete`.
/// An object may be used by one thread at a time.
class QXPLATFORM_API Image : public GdiplusBase {
  public:
    virtual ~Image();
    Image(const Image&) = delete;
    Image& operator=(const Image&) = delete;

    /// A copy with pixels of its own, or null.
    virtual Image* Clone() const;

    /// Outcome of the last call on this object that failed, Ok if none did; reading it sets it back to Ok.
    Status GetLastStatus() const;

    /// Pixels; 0 and a status if the object holds no picture.
    unsigned GetWidth() const;
    unsigned GetHeight() const;

    /// PixelFormat24bppRGB or PixelFormat32bppARGB.
    PixelFormat GetPixelFormat() const;

    /// Pixels per inch; 0 if there is no picture.
    float GetHorizontalResolution() const;
    float GetVerticalResolution() const;

    /// The handle that the flat functions take; it stays with this object.
    GpImage* GetNativeImage() const { return m_pNativeImage; }

  protected:
    Image(GpImage* pNativeImage, Status status) : m_pNativeImage(pNativeImage), m_eLastStatus(status) {}

    Status SetStatus(Status status) const {
        if (status != Ok) m_eLastStatus = status;
        return status;
    }

    GpImage* m_pNativeImage;
    mutable Status m_eLastStatus;
};

/// A picture whose pixels can be reached. Every picture that this library hands out is one, so a
/// `dynamic_cast` or `static_cast` from Image is in order.
class QXPLATFORM_API Bitmap : public Image {
  public:
    /// A new picture in one of the two formats. GetLastStatus() tells whether it could be made.
    Bitmap(int nWidth, int nHeight, PixelFormat format);

    /// A new picture whose pixels have to be written before they are read. Null if it could not be made.
    static std::unique_ptr<Bitmap> CreateUninitialised(int nWidth, int nHeight, PixelFormat format);

    /// Takes over a native picture.
    explicit Bitmap(GpImage* pNativeImage);
    ~Bitmap() override;

    Bitmap* Clone() const override;

    /// Copies a rectangle into a new picture in `format`, or null.
    Bitmap* Clone(int x, int y, int nWidth, int nHeight, PixelFormat format) const;

    Status SetResolution(float horizontal, float vertical);

    /// Gives access to the pixels of `pRect` (null: the whole picture) as `format`, until UnlockBits().
    /// In the picture's own format the pixels are those of the picture; in the other one they are a
    /// converted copy, which UnlockBits() writes back if `nFlags` has ImageLockModeWrite.
    Status LockBits(const Rect* pRect, unsigned nFlags, PixelFormat format, BitmapData* pData);
    Status UnlockBits(BitmapData* pData);
};

}  // namespace Gdiplus

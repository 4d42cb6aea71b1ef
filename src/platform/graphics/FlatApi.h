#pragma once

#include <cstddef>

#include "../Export.h"
#include "GdiplusTypes.h"

namespace Gdiplus {

class GpImage;
class GpGraphics;

/// The flat functions under the image classes. Every one that answers a Status leaves its out-parameters
/// alone unless that is Ok. An image belongs to whoever made it, until GdipDisposeImage().
namespace DllExports {

/// Memory of the image objects; null if there is none.
QXPLATFORM_API void* GdipAlloc(std::size_t nSize);
QXPLATFORM_API void GdipFree(void* pBlock);

/// A new bitmap. `nStride` is 0 and `pScan0` null: the bitmap brings its own memory.
QXPLATFORM_API Status GdipCreateBitmapFromScan0(int nWidth, int nHeight, int nStride, PixelFormat format,
                                                unsigned char* pScan0, GpImage** ppBitmap);

/// A copy of a rectangle, which must lie within the bitmap, in the format of the caller's choice.
QXPLATFORM_API Status GdipCloneBitmapAreaI(int x, int y, int nWidth, int nHeight, PixelFormat format,
                                           GpImage* pSource, GpImage** ppCopy);
QXPLATFORM_API Status GdipCloneImage(GpImage* pImage, GpImage** ppCopy);
QXPLATFORM_API Status GdipDisposeImage(GpImage* pImage);

QXPLATFORM_API Status GdipGetImageWidth(GpImage* pImage, unsigned* pnPixels);
QXPLATFORM_API Status GdipGetImageHeight(GpImage* pImage, unsigned* pnPixels);
QXPLATFORM_API Status GdipGetImagePixelFormat(GpImage* pImage, PixelFormat* pFormat);
QXPLATFORM_API Status GdipGetImageHorizontalResolution(GpImage* pImage, float* pPixelsPerInch);
QXPLATFORM_API Status GdipGetImageVerticalResolution(GpImage* pImage, float* pPixelsPerInch);

/// Pixels per inch; both above zero.
QXPLATFORM_API Status GdipBitmapSetResolution(GpImage* pBitmap, float horizontal, float vertical);

/// See Bitmap::LockBits() and Bitmap::UnlockBits().
QXPLATFORM_API Status GdipBitmapLockBits(GpImage* pBitmap, const Rect* pRect, unsigned nFlags,
                                         PixelFormat format, BitmapData* pData);
QXPLATFORM_API Status GdipBitmapUnlockBits(GpImage* pBitmap, BitmapData* pData);

/// A drawing surface on a bitmap, which must outlive it.
QXPLATFORM_API Status GdipGetImageGraphicsContext(GpImage* pImage, GpGraphics** ppGraphics);
QXPLATFORM_API Status GdipDeleteGraphics(GpGraphics* pGraphics);

/// The one quality that the surface has; anything else is refused.
QXPLATFORM_API Status GdipSetInterpolationMode(GpGraphics* pGraphics, InterpolationMode mode);
QXPLATFORM_API Status GdipSetPixelOffsetMode(GpGraphics* pGraphics, PixelOffsetMode mode);
QXPLATFORM_API Status GdipSetSmoothingMode(GpGraphics* pGraphics, SmoothingMode mode);

/// Draws a rectangle of `pImage` into a rectangle of the surface, replacing what is there, scaled with the
/// filter of Resampler.h. Both rectangles must lie within their pictures. A source with alpha is composed
/// over white on a surface without.
/// `pAttributes`, `pCallback` and `pCallbackData` are null.
QXPLATFORM_API Status GdipDrawImageRectRectI(GpGraphics* pGraphics, GpImage* pImage, int dstX, int dstY,
                                             int dstWidth, int dstHeight, int srcX, int srcY, int srcWidth,
                                             int srcHeight, Unit unit, const void* pAttributes,
                                             void* pCallback, void* pCallbackData);

}  // namespace DllExports
}  // namespace Gdiplus

#pragma once

#include "../Export.h"
#include "GdiplusTypes.h"

namespace Gdiplus {

class Bitmap;
class GpGraphics;
class Image;

/// A drawing surface on a bitmap, which must outlive it. Operations on a surface that could not be made
/// answer InvalidParameter.
class QXPLATFORM_API Graphics {
  public:
    explicit Graphics(Bitmap* pBitmap);
    ~Graphics();
    Graphics(const Graphics&) = delete;
    Graphics& operator=(const Graphics&) = delete;

    Status SetInterpolationMode(InterpolationMode mode);
    Status SetPixelOffsetMode(PixelOffsetMode mode);
    Status SetSmoothingMode(SmoothingMode mode);

    /// Draws `source` of `pImage` into `destination`; see GdipDrawImageRectRectI().
    Status DrawImage(Image* pImage, const Rect& destination, const Rect& source, Unit unit);

  private:
    GpGraphics* m_pNativeGraphics = nullptr;
};

}  // namespace Gdiplus

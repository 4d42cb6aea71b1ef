#include "Graphics.h"

#include "FlatApi.h"
#include "Image.h"

namespace Gdiplus {

using namespace DllExports;

Graphics::Graphics(Bitmap* pBitmap) {
    GdipGetImageGraphicsContext(pBitmap->GetNativeImage(), &m_pNativeGraphics);
}

Graphics::~Graphics() {
    GdipDeleteGraphics(m_pNativeGraphics);
}

Status Graphics::SetInterpolationMode(InterpolationMode mode) {
    return GdipSetInterpolationMode(m_pNativeGraphics, mode);
}

Status Graphics::SetPixelOffsetMode(PixelOffsetMode mode) {
    return GdipSetPixelOffsetMode(m_pNativeGraphics, mode);
}

Status Graphics::SetSmoothingMode(SmoothingMode mode) {
    return GdipSetSmoothingMode(m_pNativeGraphics, mode);
}

Status Graphics::DrawImage(Image* pImage, const Rect& to, const Rect& from, Unit unit) {
    return GdipDrawImageRectRectI(m_pNativeGraphics, pImage->GetNativeImage(), to.X, to.Y, to.Width,
                                  to.Height, from.X, from.Y, from.Width, from.Height, unit, nullptr, nullptr,
                                  nullptr);
}

}  // namespace Gdiplus

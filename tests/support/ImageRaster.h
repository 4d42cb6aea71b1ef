#pragma once

#include "Raster.h"

namespace Gdiplus {
class Image;
}

namespace TestSupport {

/// The pixels of an image, in its own format. Nothing of a null image.
Raster RasterOf(Gdiplus::Image* pImage);

/// The largest difference of a sample; the colour of what is transparent in both does not count. 256 if
/// the two have not the same size and format.
int LargestDifference(const Raster& one, const Raster& other);

/// The first rows of a picture.
Raster FirstRows(const Raster& picture, std::uint32_t nRows);

/// Luma (BT.601) as grey, in 24 bits.
Raster LumaOf(const Raster& picture);

}  // namespace TestSupport

#pragma once

#include <cstddef>
#include <cstdint>

#include "../Export.h"
#include "GdiplusTypes.h"

namespace Gdiplus {

/// Copies `nPixels` pixels from one of the two formats to the other or the same. What drops alpha composes
/// over white; what gains alpha is opaque.
QXPLATFORM_API void ConvertPixels(const std::uint8_t* pFrom, PixelFormat from, std::uint8_t* pTo,
                                  PixelFormat to, std::size_t nPixels);

}  // namespace Gdiplus

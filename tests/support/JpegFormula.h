#pragma once

#include <cstdint>
#include <optional>

#include "PictureFiles.h"
#include "Raster.h"

namespace TestSupport {

/// A JPEG of one component, or of luma and chroma or red, green and blue, at `eighths` / 8 of its size: the
/// coefficients as libjpeg reads them, and then the definition of the inverse cosine transform, in doubles,
/// for as many samples of a block as there are to be pixels, or a part of them. Nothing if libjpeg refuses
/// the file.
std::optional<Raster> ReduceJpegByFormula(const Bytes& file, std::uint32_t eighths);

}  // namespace TestSupport

#pragma once

#include <cstdint>

#include "PictureFiles.h"
#include "Raster.h"

namespace TestSupport {

/// A picture that says its number whatever size it is shown at: in fields of four greys, with a check sum,
/// so that a foreign or a torn picture is told from the right one.
Raster CodedPicture(std::uint32_t number, std::uint32_t nWidth, std::uint32_t nHeight);
Bytes MakeCodedJpeg(std::uint32_t number, std::uint32_t nWidth = 240, std::uint32_t nHeight = 180);

/// The number of such a picture, from 24 by 18 pixels on; -1 if it shows none.
std::int64_t NumberShownBy(const Raster& picture);

}  // namespace TestSupport

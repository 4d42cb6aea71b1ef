#pragma once

#include <vector>

#include "CompressedPicture.h"
#include "platform/graphics/Image.h"

namespace Client {

/// The bitmap as a file of the format. PNG keeps transparency; JPEG, of quality 95, gets a white ground.
/// Throws a Failure if the format cannot hold it.
std::vector<unsigned char> EncodePicture(Gdiplus::Bitmap& bitmap, PictureFormat format);

}  // namespace Client

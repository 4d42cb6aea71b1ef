#pragma once

#include <span>

#include "common/TNGTypes.h"

/// What the first bytes of a JPEG or PNG file tell.
namespace Client {

enum class PictureFormat { Jpeg, Png };

using ByteView = std::span<const unsigned char>;

/// PNG by its signature; else JPEG, the only other form that the library gives.
PictureFormat FormatOf(ByteView file);

/// Width and height in pixels; (0, 0) if the file does not tell.
TNGSize SizeOf(ByteView file);

}  // namespace Client

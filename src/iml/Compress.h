#pragma once

#include <cstdint>
#include <vector>

#include "platform/graphics/GdiplusTypes.h"

/// A picture as a file in memory; empty if the codec failed. They throw std::bad_alloc.

/// `nQuality` from 1 to 100. What is transparent is composed over white.
std::vector<std::uint8_t> CompressJpeg(const Gdiplus::BitmapData& pixels, int nQuality);

std::vector<std::uint8_t> CompressPng(const Gdiplus::BitmapData& pixels);

#pragma once

#include <cstdint>

/// Whether `nBytes` of a compressed picture can stand for `nPixels`. No format here packs more than 4096
/// pixels into a byte, but for a plain picture, which is believed up to 16 million pixels. It keeps a file
/// of some hundred bytes from asking for memory and time by the sizes in its header.
inline bool IsPlausibleSize(std::uint64_t nPixels, std::uint64_t nBytes) {
    constexpr std::uint64_t kFreePixels = std::uint64_t{1} << 24;
    constexpr std::uint64_t kPixelsPerByte = 4096;
    return nPixels <= kFreePixels || (nPixels - kFreePixels) / kPixelsPerByte <= nBytes;
}

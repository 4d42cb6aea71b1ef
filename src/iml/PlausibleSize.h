#pragma once

#include <cstdint>

/// Whether a file of `nBytes` can hold `nPixels`, however well it is compressed: up to 4096 pixels in a byte,
/// and 16 million more, for a picture of a single colour takes next to nothing. It keeps a file of some
/// hundred bytes from asking for memory and time by the numbers in its header.
inline bool IsPlausibleSize(std::uint64_t nPixels, std::uint64_t nBytes) {
    constexpr std::uint64_t kFreePixels = std::uint64_t{1} << 24;
    constexpr std::uint64_t kPixelsPerByte = 4096;
    return nPixels <= kFreePixels || (nPixels - kFreePixels) / kPixelsPerByte <= nBytes;
}

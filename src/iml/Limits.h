#pragma once

#include <cstdint>

/// What one picture may ask for. A header beyond these limits counts as damaged.

/// Pixels of a picture, by its header.
inline constexpr std::uint64_t kMaxPixels = std::uint64_t{1} << 30;

/// Scans of a JPEG. Encoders make about ten; each costs a pass over the whole picture.
inline constexpr int kMaxScans = 200;

/// Bytes of coefficients that a progressive JPEG may keep in memory while it is decoded.
inline constexpr std::uint64_t kMaxCoefficientBytes = std::uint64_t{1} << 30;

/// Pixels of an embedded thumbnail.
inline constexpr std::uint64_t kMaxThumbnailPixels = std::uint64_t{1} << 22;

inline bool IsAcceptableSize(std::uint64_t width, std::uint64_t height) {
    return width != 0 && height != 0 && width <= kMaxPixels / height;
}

#pragma once

#include <cstdint>

/// What one picture may ask for. A header beyond these limits counts as damaged.

/// Pixels of a picture, by its header.
inline constexpr std::uint64_t kMaxPixels = std::uint64_t{1} << 30;

/// Scans of a JPEG. Encoders make about ten; each costs a pass over the whole picture.
inline constexpr int kMaxScans = 200;

/// Blocks of 8 x 8 samples that all scans of a JPEG together may go over.
inline constexpr std::uint64_t kMaxBlockVisits = std::uint64_t{1} << 26;

/// Bytes of coefficients that a JPEG of several scans may keep in memory while it is decoded.
inline constexpr std::uint64_t kMaxCoefficientBytes = std::uint64_t{1} << 29;

/// What a file may ask to be kept of it in memory: some bytes for each of its own, and some for nothing.
inline bool IsWorthKeeping(std::uint64_t keptBytes, std::uint64_t fileBytes, std::uint64_t perByte) {
    constexpr std::uint64_t kFree = std::uint64_t{1} << 25;
    return keptBytes <= kFree || (keptBytes - kFree) / perByte <= fileBytes;
}

/// Pixels of an embedded thumbnail.
inline constexpr std::uint64_t kMaxThumbnailPixels = std::uint64_t{1} << 22;

/// Pixels of one side: what the resampler keeps grows with the sides.
inline constexpr std::uint64_t kMaxSide = std::uint64_t{1} << 18;

inline bool IsAcceptableSize(std::uint64_t width, std::uint64_t height) {
    return width != 0 && height != 0 && width <= kMaxSide && height <= kMaxSide &&
           width <= kMaxPixels / height;
}

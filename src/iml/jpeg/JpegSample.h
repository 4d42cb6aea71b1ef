#pragma once

#include <cstdint>

/// A sample is a signed number around 0 here; a dequantised coefficient that 8-bit samples can give, and some
/// more, is less than this from 0. Beyond it decoders differ.
inline constexpr int kJpegCoefficientLimit = 2048;

/// Whether a dequantised coefficient is within the limit.
inline bool IsJpegCoefficient(int value) {
    return value >= -kJpegCoefficientLimit && value < kJpegCoefficientLimit;
}

/// The sample that a signed one stands for.
inline std::uint8_t JpegSample(int value) {
    return static_cast<std::uint8_t>(value < -128 ? 0 : value > 127 ? 255 : value + 128);
}

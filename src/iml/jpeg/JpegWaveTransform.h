#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

/// Quantisation steps: [8 * wave across + wave down].
using JpegWaveSteps = std::array<float, 64>;

/// The inverse cosine transform of `nBlocks` blocks side by side, each to so many samples across and down
/// from as many of its lowest waves. A block's quantised coefficients are in order of the wave across, then
/// down; four more are read behind the last block's. `nStride` is from a row of samples to the next. False if
/// a dequantised coefficient is beyond what 8-bit samples can give.
using JpegWaveTransform = bool (*)(const JpegWaveSteps& steps, const std::int16_t* pBlocks,
                                   std::size_t nBlocks, std::uint8_t* pSamples, std::size_t nStride);

/// The transform to 2, 3, 4, 6 or 8 samples across and down, or to a single one.
JpegWaveTransform FindJpegWaveTransform(std::uint32_t across, std::uint32_t down);

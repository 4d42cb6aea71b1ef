#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "../Export.h"
#include "FilterTable.h"

namespace Gdiplus {

/// The inner loops of the resampler, for one set of vector instructions.
struct ResampleKernels {
    const char* pszName;

    /// Source rows that one call of AccumulateRows() takes in.
    static constexpr std::size_t kRowsAtOnce = 4;

    /// Floats beyond the end of an accumulator that the loops may read or write.
    static constexpr std::size_t kPadding = 16;

    /// pSums[i] = (bStart ? 0 : pSums[i]) + sum over r of weights[r] * rows[r][i], for `nSamples` samples.
    /// With alpha the samples are B, G, R, A, and colour is multiplied by alpha / 255 first.
    void (*AccumulateRows)(const std::uint8_t* const rows[kRowsAtOnce], const float weights[kRowsAtOnce],
                           bool bAlpha, bool bStart, float* pSums, std::size_t nSamples);

    /// Filters one accumulated row along itself into finished pixels. Bytes per pixel are 3 or 4 on either
    /// side.
    void (*FilterRow)(const float* pSums, unsigned nSrcChannels, const FilterTable& table, std::uint8_t* pDst,
                      unsigned nDstChannels);
};

/// Those that the processor can run, the fastest first.
QXPLATFORM_API std::span<const ResampleKernels> SupportedKernels();

}  // namespace Gdiplus

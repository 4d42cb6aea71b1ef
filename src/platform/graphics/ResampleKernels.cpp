#include "ResampleKernels.h"

#include <algorithm>
#include <cstring>

#if defined(__x86_64__)
// The least that a processor must have; below it there are no vectors of four floats with broadcasts.
#define HWY_BASELINE_TARGETS HWY_SSSE3
#endif
// Vectors of 512 bits slow the whole core down for a while on many processors, by more than they win here: a
// decode of 12 megapixels beside them took 8 % longer.
#define HWY_DISABLED_TARGETS (HWY_AVX3 | HWY_AVX3_DL)
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "platform/graphics/ResampleKernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace Gdiplus::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;
constexpr std::size_t kRowsAtOnce = ResampleKernels::kRowsAtOnce;

const hn::ScalableTag<float> kFloats;
using Floats = hn::Vec<decltype(kFloats)>;

Floats LoadSamples(const std::uint8_t* p) {
    const hn::Rebind<std::int32_t, decltype(kFloats)> integers;
    const hn::Rebind<std::uint8_t, decltype(kFloats)> bytes;
    return hn::ConvertTo(kFloats, hn::PromoteTo(integers, hn::LoadU(bytes, p)));
}

// Colour times alpha / 255; alpha itself stays.
Floats Premultiply(Floats samples) {
    alignas(16) static constexpr float kAlphaLane[4] = {0, 0, 0, 1};
    const auto isAlpha = hn::Gt(hn::LoadDup128(kFloats, kAlphaLane), hn::Zero(kFloats));
    const Floats factor = hn::Mul(hn::Broadcast<3>(samples), hn::Set(kFloats, 1.0f / 255));
    return hn::Mul(samples, hn::IfThenElse(isAlpha, hn::Set(kFloats, 1.0f), factor));
}

template <bool kAlpha>
void AccumulateVectors(const std::uint8_t* const rows[kRowsAtOnce], const float weights[kRowsAtOnce],
                       bool bStart, float* HWY_RESTRICT pSums, std::size_t nBegin, std::size_t nEnd) {
    const Floats w0 = hn::Set(kFloats, weights[0]);
    const Floats w1 = hn::Set(kFloats, weights[1]);
    const Floats w2 = hn::Set(kFloats, weights[2]);
    const Floats w3 = hn::Set(kFloats, weights[3]);
    const auto sample = [&](std::size_t row, std::size_t i) {
        const Floats samples = LoadSamples(rows[row] + i);
        return kAlpha ? Premultiply(samples) : samples;
    };
    for (std::size_t i = nBegin; i < nEnd; i += hn::Lanes(kFloats)) {
        Floats sum = bStart ? hn::Zero(kFloats) : hn::LoadU(kFloats, pSums + i);
        sum = hn::MulAdd(sample(0, i), w0, sum);
        sum = hn::MulAdd(sample(1, i), w1, sum);
        sum = hn::MulAdd(sample(2, i), w2, sum);
        sum = hn::MulAdd(sample(3, i), w3, sum);
        hn::StoreU(sum, kFloats, pSums + i);
    }
}

template <bool kAlpha>
void AccumulateRowsOf(const std::uint8_t* const rows[kRowsAtOnce], const float weights[kRowsAtOnce],
                      bool bStart, float* pSums, std::size_t nSamples) {
    const std::size_t nWhole = nSamples - nSamples % hn::Lanes(kFloats);
    AccumulateVectors<kAlpha>(rows, weights, bStart, pSums, 0, nWhole);
    if (nWhole == nSamples) return;
    // The rows end here, so the last, partial vector comes from a copy.
    std::uint8_t tails[kRowsAtOnce][HWY_MAX_BYTES] = {};
    const std::uint8_t* tailRows[kRowsAtOnce];
    for (std::size_t r = 0; r < kRowsAtOnce; ++r) {
        std::memcpy(tails[r], rows[r] + nWhole, nSamples - nWhole);
        tailRows[r] = tails[r];
    }
    AccumulateVectors<kAlpha>(tailRows, weights, bStart, pSums + nWhole, 0, nSamples - nWhole);
}

void AccumulateRows(const std::uint8_t* const rows[kRowsAtOnce], const float weights[kRowsAtOnce],
                    bool bAlpha, bool bStart, float* pSums, std::size_t nSamples) {
    if (bAlpha) {
        AccumulateRowsOf<true>(rows, weights, bStart, pSums, nSamples);
    } else {
        AccumulateRowsOf<false>(rows, weights, bStart, pSums, nSamples);
    }
}

// A pixel in the four lanes of one 128-bit vector; lane 3 is alpha, or nothing.
const hn::FixedTag<float, 4> kPixel;
using Pixel = hn::Vec<decltype(kPixel)>;

template <unsigned kSrcChannels>
Pixel WeightedSum(const float* pSums, const float* pWeights, std::size_t nTaps) {
    Pixel even = hn::Zero(kPixel);
    Pixel odd = hn::Zero(kPixel);
    std::size_t i = 0;
    for (; i + 2 <= nTaps; i += 2) {
        even = hn::MulAdd(hn::LoadU(kPixel, pSums + i * kSrcChannels), hn::Set(kPixel, pWeights[i]), even);
        odd = hn::MulAdd(hn::LoadU(kPixel, pSums + (i + 1) * kSrcChannels), hn::Set(kPixel, pWeights[i + 1]),
                         odd);
    }
    if (i < nTaps)
        even = hn::MulAdd(hn::LoadU(kPixel, pSums + i * kSrcChannels), hn::Set(kPixel, pWeights[i]), even);
    return hn::Add(even, odd);
}

// What comes out of the filter is colour times alpha; this makes it a pixel of the destination.
template <unsigned kDstChannels>
Pixel FinishAlpha(Pixel sum) {
    const Pixel full = hn::Set(kPixel, 255.0f);
    // Not clamped: colour overshoots with alpha, and the two belong together.
    const Pixel alpha = hn::Broadcast<3>(sum);
    if (kDstChannels == 3) return hn::Add(sum, hn::Sub(full, alpha));
    // Alpha below half a step rounds to transparent; its colour does not matter.
    const Pixel colour = hn::Div(hn::Mul(sum, full), hn::Max(alpha, hn::Set(kPixel, 0.5f)));
    alignas(16) static constexpr float kAlphaLane[4] = {0, 0, 0, 1};
    return hn::IfThenElse(hn::Gt(hn::Load(kPixel, kAlphaLane), hn::Zero(kPixel)), alpha, colour);
}

// Writes four bytes, whatever the size of a pixel is.
void StoreRounded(Pixel pixel, std::uint8_t* pDst) {
    const hn::Rebind<std::uint8_t, decltype(kPixel)> bytes;
    const Pixel clamped = hn::Min(hn::Max(pixel, hn::Zero(kPixel)), hn::Set(kPixel, 255.0f));
    hn::StoreU(hn::DemoteTo(bytes, hn::NearestInt(clamped)), bytes, pDst);
}

template <unsigned kSrcChannels, unsigned kDstChannels>
Pixel FilterPixel(const float* pSums, const FilterTable& table, std::uint32_t x) {
    const Pixel sum =
        WeightedSum<kSrcChannels>(pSums + table.First(x) * kSrcChannels, table.Weights(x), table.Count(x));
    return kSrcChannels == 4 ? FinishAlpha<kDstChannels>(sum) : sum;
}

// A pixel of three bytes is written with a fourth one, which the next pixel overwrites.
template <unsigned kSrcChannels, unsigned kDstChannels>
void FilterRowOf(const float* pSums, const FilterTable& table, std::uint8_t* pDst) {
    const std::uint32_t last = table.Size() - 1;
    for (std::uint32_t x = 0; x < last; ++x, pDst += kDstChannels) {
        StoreRounded(FilterPixel<kSrcChannels, kDstChannels>(pSums, table, x), pDst);
        if (kSrcChannels == 3 && kDstChannels == 4) pDst[3] = 255;
    }
    std::uint8_t pixel[4];
    StoreRounded(FilterPixel<kSrcChannels, kDstChannels>(pSums, table, last), pixel);
    if (kSrcChannels == 3) pixel[3] = 255;
    std::memcpy(pDst, pixel, kDstChannels);
}

void FilterRow(const float* pSums, unsigned nSrcChannels, const FilterTable& table, std::uint8_t* pDst,
               unsigned nDstChannels) {
    if (nSrcChannels == 3) {
        nDstChannels == 3 ? FilterRowOf<3, 3>(pSums, table, pDst) : FilterRowOf<3, 4>(pSums, table, pDst);
    } else {
        nDstChannels == 3 ? FilterRowOf<4, 3>(pSums, table, pDst) : FilterRowOf<4, 4>(pSums, table, pDst);
    }
}

}  // namespace Gdiplus::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace Gdiplus {
namespace {

// Found out here: Highway's own library, which would do it, measures the clock for 8 ms when it is loaded.
// Needs no destructor: threads may still be at work when the process ends.
struct Supported {
    ResampleKernels kernels[3];
    std::size_t count = 0;

    Supported() {
#if (HWY_TARGETS & HWY_AVX2) && HWY_STATIC_TARGET != HWY_AVX2
        const bool bAvx2 = __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma") &&
                           __builtin_cpu_supports("bmi") && __builtin_cpu_supports("bmi2");
        if (bAvx2) kernels[count++] = {"AVX2", &N_AVX2::AccumulateRows, &N_AVX2::FilterRow};
#endif
#if (HWY_TARGETS & HWY_SSE4) && HWY_STATIC_TARGET != HWY_SSE4
        const bool bSse4 = __builtin_cpu_supports("sse4.2") && __builtin_cpu_supports("aes") &&
                           __builtin_cpu_supports("pclmul");
        if (bSse4) kernels[count++] = {"SSE4", &N_SSE4::AccumulateRows, &N_SSE4::FilterRow};
#endif
        kernels[count++] = {"baseline", &HWY_STATIC_DISPATCH(AccumulateRows),
                            &HWY_STATIC_DISPATCH(FilterRow)};
    }
};

}  // namespace

std::span<const ResampleKernels> SupportedKernels() {
    static const Supported supported;
    return {supported.kernels, supported.count};
}

}  // namespace Gdiplus
#endif

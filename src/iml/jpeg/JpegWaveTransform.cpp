#include "JpegWaveTransform.h"

#include <algorithm>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "JpegSample.h"

namespace {

// Four at a time: the compiler makes vectors of them on any processor.
using Floats = float __attribute__((vector_size(16)));
using Integers = std::int32_t __attribute__((vector_size(16)));
using Shorts = std::int16_t __attribute__((vector_size(8)));

// [wave][sample]: the odd waves of a transform of so many samples in its first half, times the root of 2. The
// second half is the same with the other sign.
template <std::size_t nSize>
constexpr float kOddWaves[nSize / 2][nSize / 2] = {};
template <>
constexpr float kOddWaves<2>[1][1] = {{1}};
template <>
constexpr float kOddWaves<4>[2][2] = {{1.30656296f, 0.54119610f}, {0.54119610f, -1.30656296f}};
template <>
constexpr float kOddWaves<6>[3][3] = {
    {1.36602540f, 1.0f, 0.36602540f}, {1.0f, -1.0f, -1.0f}, {0.36602540f, -1.0f, 1.36602540f}};
template <>
constexpr float kOddWaves<8>[4][4] = {{1.38703985f, 1.17587560f, 0.78569496f, 0.27589938f},
                                      {1.17587560f, -0.27589938f, -1.38703985f, -0.78569496f},
                                      {0.78569496f, -1.38703985f, 0.27589938f, 1.17587560f},
                                      {0.27589938f, -0.78569496f, 1.17587560f, -1.38703985f}};

// The inverse transform of `nSize` values, in four lanes. Even waves are a transform of half the size.
template <std::size_t nSize>
[[gnu::always_inline]] inline void Inverse(Floats* p) {
    if constexpr (nSize == 3) {
        const Floats even = p[0] + p[2] * 0.70710678f;
        const Floats odd = p[1] * 1.22474487f;
        p[1] = p[0] - p[2] * 1.41421356f;
        p[0] = even + odd;
        p[2] = even - odd;
    } else if constexpr (nSize > 1) {
        constexpr std::size_t kHalf = nSize / 2;
        Floats even[kHalf];
        Floats odd[kHalf];
        for (std::size_t i = 0; i < kHalf; ++i)
            even[i] = p[2 * i];
        Inverse<kHalf>(even);
        for (std::size_t sample = 0; sample < kHalf; ++sample) {
            odd[sample] = p[1] * kOddWaves<nSize>[0][sample];
            for (std::size_t wave = 1; wave < kHalf; ++wave)
                odd[sample] += p[2 * wave + 1] * kOddWaves<nSize>[wave][sample];
        }
        for (std::size_t i = 0; i < kHalf; ++i) {
            p[i] = even[i] + odd[i];
            p[nSize - 1 - i] = even[i] - odd[i];
        }
    }
}

// Dequantises four coefficients, and notes if one is beyond the limit.
[[gnu::always_inline]] inline Floats Load(const std::int16_t* pCoefficients, const float* pSteps,
                                          Integers& beyond) {
    Shorts coefficients;
    Floats steps;
    std::memcpy(&coefficients, pCoefficients, sizeof coefficients);
    std::memcpy(&steps, pSteps, sizeof steps);
    const Floats values = __builtin_convertvector(coefficients, Floats) * steps;
    constexpr float kLimit = kJpegCoefficientLimit;
    beyond |= (values < -kLimit) | (values >= kLimit);
    return values;
}

[[gnu::always_inline]] inline void Transpose(Floats (&rows)[4]) {
    const Floats low01 = __builtin_shufflevector(rows[0], rows[1], 0, 4, 1, 5);
    const Floats low23 = __builtin_shufflevector(rows[2], rows[3], 0, 4, 1, 5);
    const Floats high01 = __builtin_shufflevector(rows[0], rows[1], 2, 6, 3, 7);
    const Floats high23 = __builtin_shufflevector(rows[2], rows[3], 2, 6, 3, 7);
    rows[0] = __builtin_shufflevector(low01, low23, 0, 1, 4, 5);
    rows[1] = __builtin_shufflevector(low01, low23, 2, 3, 6, 7);
    rows[2] = __builtin_shufflevector(high01, high23, 0, 1, 4, 5);
    rows[3] = __builtin_shufflevector(high01, high23, 2, 3, 6, 7);
}

// Samples around 0, times 8, as bytes; what is below 0 may be rounded up.
[[gnu::always_inline]] inline Integers RoundSamples(Floats values) {
    return __builtin_convertvector(values * 0.125f + 128.5f, Integers);
}

// Stores `nSamples` of each row.
template <std::size_t nRows>
[[gnu::always_inline]] inline void StoreSamples(const Floats* rows, std::size_t nSamples,
                                                std::uint8_t* pSamples, std::size_t nStride) {
    std::uint8_t bytes[nRows <= 4 ? 4 : 8][4];
#if defined(__SSE2__)
    const auto round = [&](std::size_t y) { return reinterpret_cast<__m128i>(RoundSamples(rows[y])); };
    for (std::size_t y = 0; y < nRows; y += 4) {
        const __m128i upper = _mm_packs_epi32(round(y), round(y + 1));
        const __m128i lower = _mm_packs_epi32(round(y + 2), round(y + 3));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(bytes[y]), _mm_packus_epi16(upper, lower));
    }
#else
    for (std::size_t y = 0; y < nRows; ++y) {
        const Integers samples = RoundSamples(rows[y]);
        for (int x = 0; x < 4; ++x)
            bytes[y][x] = static_cast<std::uint8_t>(std::clamp(samples[x], 0, 255));
    }
#endif
    for (std::size_t y = 0; y < nRows; ++y)
        std::memcpy(pSamples + y * nStride, bytes[y], nSamples);
}

template <std::size_t nAcross, std::size_t nDown>
struct Transform {
    // In groups of four lanes; those beyond the block's samples hold nothing.
    static constexpr std::size_t kGroupsAcross = (nAcross + 3) / 4;
    static constexpr std::size_t kGroupsDown = (nDown + 3) / 4;

    static bool Row(const JpegWaveSteps& steps, const std::int16_t* pBlocks, std::size_t nBlocks,
                    std::uint8_t* pSamples, std::size_t nStride) {
        Integers beyond{};
        for (std::size_t block = 0; block < nBlocks; ++block, pBlocks += nAcross * nDown, pSamples += nAcross)
            Block(steps, pBlocks, pSamples, nStride, beyond);
        return (beyond[0] | beyond[1] | beyond[2] | beyond[3]) == 0;
    }

    [[gnu::always_inline]] static void Block(const JpegWaveSteps& steps, const std::int16_t* pBlock,
                                             std::uint8_t* pSamples, std::size_t nStride, Integers& beyond) {
        Floats rows[kGroupsAcross][4 * kGroupsDown];
        for (std::size_t down = 0; down < kGroupsDown; ++down) {
            Floats columns[4 * kGroupsAcross] = {};
            for (std::size_t x = 0; x < nAcross; ++x)
                columns[x] = Load(pBlock + nDown * x + 4 * down, &steps[8 * x + 4 * down], beyond);
            Inverse<nAcross>(columns);
            for (std::size_t across = 0; across < kGroupsAcross; ++across) {
                Floats square[4];
                std::copy_n(columns + 4 * across, 4, square);
                Transpose(square);
                std::copy_n(square, 4, rows[across] + 4 * down);
            }
        }
        for (std::size_t across = 0; across < kGroupsAcross; ++across) {
            Inverse<nDown>(rows[across]);
            StoreSamples<nDown>(rows[across], std::min<std::size_t>(nAcross - 4 * across, 4),
                                pSamples + 4 * across, nStride);
        }
    }
};

template <>
struct Transform<1, 1> {
    static bool Row(const JpegWaveSteps& steps, const std::int16_t* pBlocks, std::size_t nBlocks,
                    std::uint8_t* pSamples, std::size_t) {
        const int step = static_cast<int>(steps[0]);
        bool good = true;
        for (std::size_t block = 0; block < nBlocks; ++block) {
            good &= IsJpegCoefficient(pBlocks[block] * step);
            pSamples[block] = JpegSample((pBlocks[block] * step + 4) >> 3);
        }
        return good;
    }
};

// All four waves have the same weight.
template <>
struct Transform<2, 2> {
    static bool Row(const JpegWaveSteps& steps, const std::int16_t* pBlocks, std::size_t nBlocks,
                    std::uint8_t* pSamples, std::size_t nStride) {
        const int step[4] = {static_cast<int>(steps[0]), static_cast<int>(steps[1]),
                             static_cast<int>(steps[8]), static_cast<int>(steps[9])};
        bool good = true;
        for (std::size_t block = 0; block < nBlocks; ++block, pBlocks += 4, pSamples += 2) {
            int values[4];
            for (std::size_t i = 0; i < 4; ++i) {
                const int value = pBlocks[i] * step[i];
                good &= IsJpegCoefficient(value);
                values[i] = static_cast<std::int16_t>(value);
            }
            const int left = values[0] + values[2] + 4;
            const int right = values[0] - values[2] + 4;
            pSamples[0] = JpegSample((left + values[1] + values[3]) >> 3);
            pSamples[1] = JpegSample((right + values[1] - values[3]) >> 3);
            pSamples[nStride] = JpegSample((left - values[1] - values[3]) >> 3);
            pSamples[nStride + 1] = JpegSample((right - values[1] + values[3]) >> 3);
        }
        return good;
    }
};

template <std::size_t nAcross>
JpegWaveTransform FindTransformation(std::uint32_t down) {
    switch (down) {
        case 2:
            return Transform<nAcross, 2>::Row;
        case 3:
            return Transform<nAcross, 3>::Row;
        case 4:
            return Transform<nAcross, 4>::Row;
        case 6:
            return Transform<nAcross, 6>::Row;
        default:
            return Transform<nAcross, 8>::Row;
    }
}

}  // namespace

JpegWaveTransform FindJpegWaveTransform(std::uint32_t across, std::uint32_t down) {
    switch (across) {
        case 1:
            return Transform<1, 1>::Row;
        case 2:
            return FindTransformation<2>(down);
        case 3:
            return FindTransformation<3>(down);
        case 4:
            return FindTransformation<4>(down);
        case 6:
            return FindTransformation<6>(down);
        default:
            return FindTransformation<8>(down);
    }
}

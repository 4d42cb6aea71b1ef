#include "JpegQuarters.h"

#include "JpegZigzag.h"

namespace {

constexpr int kFactorBits = 13;
constexpr int kFixedOne = 1 << (kFactorBits + 2);  // factors are four times the mean of half a wave
constexpr int kKeptBits = 2;                       // of the fraction, between columns and rows

constexpr std::int16_t Fixed(double factor) {
    return static_cast<std::int16_t>(factor * (1 << kFactorBits) + (factor < 0 ? -0.5 : 0.5));
}

// By number of the wave: the sum of its first four samples, times the root of 2. The others sum up to the
// same with the other sign.
constexpr std::array<std::int16_t, 8> kHalfWaves = {
    0, Fixed(3.624509785), 0, Fixed(-1.272758580), 0, Fixed(0.850430095), 0, Fixed(-0.720959822),
};

constexpr int Descale(int value, int bits) {
    return (value + (1 << (bits - 1))) >> bits;
}

constexpr int DescaleSum(int sum) {
    return Descale(sum, kFactorBits + 2 + kKeptBits + 3);
}

bool AreSamples(int left, int right) {
    constexpr int kMost = 512;
    return left >= -kMost && left < kMost && right >= -kMost && right < kMost;
}

bool FinishRow(const std::array<std::int16_t, 8>& columns, std::uint8_t* pRow) {
    int differs = 0;
    for (std::size_t i = 0; i < columns.size(); ++i)
        differs += columns[i] * kHalfWaves[i];
    const int same = columns[0] * kFixedOne;
    const int left = DescaleSum(same + differs);
    const int right = DescaleSum(same - differs);
    pRow[0] = JpegSample(left);
    pRow[1] = JpegSample(right);
    return AreSamples(left, right);
}

}  // namespace

JpegQuarters::JpegQuarters(const JpegTables::Quantiser& quantiser) {
    for (std::size_t i = 0; i < m_weights.size(); ++i) {
        const std::uint32_t across = kJpegNaturalOrder[i] % 8;
        const std::uint32_t down = kJpegNaturalOrder[i] / 8;
        m_weights[i].step = quantiser[i];
        if ((across != 0 && kHalfWaves[across] == 0) || (down != 0 && kHalfWaves[down] == 0)) continue;
        m_weights[i].factor = down == 0 ? kFixedOne : kHalfWaves[down];
        m_weights[i].column = down == 0 ? across : across + 8;
    }
}

bool JpegQuarters::Finish(const Sums& sums, std::uint8_t* pUpper, std::uint8_t* pLower) {
    constexpr int kBits = kFactorBits + 2 - kKeptBits;
    if (!sums.good) return false;
    if (sums.used == 0) {
        const int mean = DescaleSum(Descale(sums.columns[0], kBits) * kFixedOne);
        pUpper[0] = pUpper[1] = pLower[0] = pLower[1] = JpegSample(mean);
        return AreSamples(mean, mean);
    }
    std::array<std::int16_t, 8> upper;
    std::array<std::int16_t, 8> lower;
    for (std::size_t i = 0; i < 8; ++i) {
        upper[i] = static_cast<std::int16_t>(Descale(sums.columns[i] + sums.columns[i + 8], kBits));
        lower[i] = static_cast<std::int16_t>(Descale(sums.columns[i] - sums.columns[i + 8], kBits));
    }
    return FinishRow(upper, pUpper) && FinishRow(lower, pLower);
}

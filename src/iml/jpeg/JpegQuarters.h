#pragma once

#include <array>
#include <cstdint>

#include "JpegSample.h"
#include "JpegTables.h"

/// The means of the four quarters of blocks, from their coefficients: what a decode at a quarter of the size
/// is. Only coefficients of odd waves, or none, across and down count, and of their sums no more than three
/// matter; but they are rounded between columns and rows as libjpeg does it, so that not even a rounding
/// tells the two apart.
class JpegQuarters {
  public:
    explicit JpegQuarters(const JpegTables::Quantiser& quantiser);

    /// Sums of a block by column: what is the same in its upper and lower half, then what differs.
    struct Sums {
        std::array<std::int32_t, 17> columns{};  // the last one takes what does not count
        std::uint32_t used = 0;                  // which ones are not 0, DC apart, and maybe others
        bool good = true;                        // all coefficients are within the limit
    };

    void Add(Sums& sums, unsigned index, int value) const {
        const Weight& weight = m_weights[index];
        const int coefficient = value * weight.step;
        const bool good = IsJpegCoefficient(coefficient);
        sums.good &= good;
        sums.used |= weight.column % 16;
        sums.columns[weight.column] += (good ? coefficient : 0) * weight.factor;
    }

    /// The samples of a block, two and two. False if one is out of all bounds.
    static bool Finish(const Sums& sums, std::uint8_t* pUpper, std::uint8_t* pLower);

  private:
    struct Weight {
        std::int32_t step = 1;
        std::int32_t factor = 0;
        std::uint32_t column = 16;
    };
    std::array<Weight, 64> m_weights;  // by place in zigzag order
};

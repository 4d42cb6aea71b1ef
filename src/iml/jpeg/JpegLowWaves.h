#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "JpegTables.h"
#include "JpegWaveTransform.h"

/// Makes samples of a block, up to 8 x 8 (one, two, three, four, six or eight across and down) from
/// as many of its lowest waves: the inverse of a discrete cosine transform of that size. What a block holds
/// of higher waves does not fit into so few samples, and need not be decoded. Closer to a careful reduction
/// of the whole picture than means of the samples are, which damp the highest waves that remain and fold in
/// those beyond. A single sample is the mean, rounded as libjpeg does it.
class JpegLowWaves {
  public:
    explicit JpegLowWaves(std::uint32_t across = 1, std::uint32_t down = 1);

    std::uint32_t Across() const { return m_nAcross; }
    std::uint32_t Down() const { return m_nDown; }

    /// Coefficients that are kept of a block. Behind those of the last block four more are read.
    std::size_t Count() const { return std::size_t{m_nAcross} * m_nDown; }

    /// The coefficients that count: a bit for each place in zigzag order.
    std::uint64_t Counted() const { return m_nCounted; }

    /// The place behind which none counts.
    unsigned End() const { return m_nEnd; }

    /// Puts a quantised coefficient into a block that has 0 there, if it counts.
    void Put(std::int16_t* pBlock, unsigned place, int value) const {
        std::int16_t& kept = pBlock[m_places[place].index];
        kept = static_cast<std::int16_t>(kept + (value & m_places[place].mask));
    }

    /// The coefficient at a place that counts.
    std::int16_t& At(std::int16_t* pBlock, unsigned place) const { return pBlock[m_places[place].index]; }

    /// Makes the samples of `nBlocks` blocks side by side. `nStride` is from a row of samples to the next.
    /// False if a coefficient is beyond what 8-bit samples can give.
    bool MakeSamples(const JpegTables::Quantiser& quantiser, const std::int16_t* pBlocks, std::size_t nBlocks,
                     std::uint8_t* pSamples, std::size_t nStride) const;

  private:
    // Where a coefficient lies in a block, and what is kept of it: all bits or none.
    struct Place {
        std::int16_t mask = 0;
        std::uint16_t index = 0;
    };
    std::array<Place, 64> m_places{};
    std::uint64_t m_nCounted = 0;
    std::uint32_t m_nAcross;
    std::uint32_t m_nDown;
    unsigned m_nEnd = 1;
    JpegWaveTransform m_pTransform;
};

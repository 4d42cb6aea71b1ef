#include "JpegLowWaves.h"

#include "JpegZigzag.h"

JpegLowWaves::JpegLowWaves(std::uint32_t across, std::uint32_t down)
    : m_nAcross(across), m_nDown(down), m_pTransform(FindJpegWaveTransform(across, down)) {
    for (unsigned i = 0; i < m_places.size(); ++i) {
        const std::uint32_t x = kJpegNaturalOrder[i] % 8;
        const std::uint32_t y = kJpegNaturalOrder[i] / 8;
        if (x >= across || y >= down) continue;
        m_places[i] = {-1, static_cast<std::uint16_t>(x * down + y)};
        m_nCounted |= std::uint64_t{1} << i;
        m_nEnd = i + 1;
    }
}

bool JpegLowWaves::MakeSamples(const JpegTables::Quantiser& quantiser, const std::int16_t* pBlocks,
                               std::size_t nBlocks, std::uint8_t* pSamples, std::size_t nStride) const {
    JpegWaveSteps steps{};
    for (unsigned i = 0; i < m_nEnd; ++i) {
        const std::uint32_t x = kJpegNaturalOrder[i] % 8;
        const std::uint32_t y = kJpegNaturalOrder[i] / 8;
        if (x < m_nAcross && y < m_nDown) steps[8 * x + y] = quantiser[i];
    }
    return m_pTransform(steps, pBlocks, nBlocks, pSamples, nStride);
}

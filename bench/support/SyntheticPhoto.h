#pragma once

#include <cstdint>
#include <vector>

#include "support/Raster.h"

namespace Bench {

/// A picture that is as hard for codecs as a photograph, computed row by row: a sky, land with detail at all
/// scales, hard edges between them, and grain. The same size always gives the same picture.
class SyntheticPhoto {
  public:
    /// With four channels the land is opaque and the sky fades out.
    SyntheticPhoto(std::uint32_t width, std::uint32_t height, unsigned channels = 3);

    std::uint32_t Width() const { return m_nWidth; }
    std::uint32_t Height() const { return m_nHeight; }
    unsigned Channels() const { return m_nChannels; }

    /// Writes row `y` as B, G, R or B, G, R, A.
    void FillRow(std::uint32_t y, std::uint8_t* pRow);

  private:
    void AddNoise(std::uint32_t y, std::uint32_t cell, float strength);
    void PutPixel(std::uint32_t x, std::uint32_t y, std::uint8_t* pPixel);

    std::uint32_t m_nWidth;
    std::uint32_t m_nHeight;
    unsigned m_nChannels;
    std::vector<float> m_skyline;  // the row at which the land begins, for each column
    std::vector<float> m_detail;   // of the row in work
    std::uint32_t m_nGrain = 1;
};

TestSupport::Raster MakeSyntheticPhoto(std::uint32_t width, std::uint32_t height, unsigned channels = 3);

}  // namespace Bench

#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "TiffLayout.h"

/// Turns stored rows into B, G, R, or B, G, R, A if the layout has alpha.
class TiffColours {
  public:
    /// `nPlaneBytes`: from one plane of a row to the next.
    TiffColours(const TiffFile& file, const TiffLayout& layout, std::uint64_t nPlaneBytes);

    void Convert(const std::uint8_t* pStored, std::uint8_t* pOut);

  private:
    using Colour = std::array<std::uint8_t, 3>;

    void ReadPalette(const TiffFile& file);
    void Unpack(const std::uint8_t* pStored);
    template <typename ColourOf>
    void Paint(const std::uint8_t* pSamples, unsigned nStep, std::uint8_t* pOut, ColourOf colourOf) const;

    TiffLayout m_layout;
    std::uint64_t m_nPlaneBytes;
    std::array<Colour, 256> m_palette{};
    std::vector<std::uint8_t> m_unpacked;  // the samples that count, 8 bits each
};

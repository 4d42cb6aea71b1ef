#include "TiffColours.h"

#include <algorithm>
#include <cstring>

namespace {

std::uint8_t From16Bits(unsigned value) {
    return static_cast<std::uint8_t>((value * 255 + 32895) >> 16);
}

// Product of two fractions of 255.
std::uint8_t Multiply(unsigned a, unsigned b) {
    return static_cast<std::uint8_t>((a * b + 127) / 255);
}

std::uint8_t Divide(unsigned colour, unsigned alpha) {
    if (alpha == 0) return 0;
    return static_cast<std::uint8_t>(std::min((colour * 255 + alpha / 2) / alpha, 255u));
}

}  // namespace

TiffColours::TiffColours(const TiffFile& file, const TiffLayout& layout, std::uint64_t nPlaneBytes)
    : m_layout(layout), m_nPlaneBytes(nPlaneBytes) {
    if (layout.colour == TiffColour::kPalette) ReadPalette(file);
    if (layout.bits != 8 || layout.separate)
        m_unpacked.resize(std::size_t{layout.width} * layout.UsedSamples());
}

void TiffColours::ReadPalette(const TiffFile& file) {
    std::uint16_t* maps[3] = {};
    if (TIFFGetField(file.Handle(), TIFFTAG_COLORMAP, &maps[0], &maps[1], &maps[2]) != 1) return;
    const std::size_t nColours = std::size_t{1} << m_layout.bits;
    // Some writers give values of 8 bits in place of 16.
    const bool wide = std::any_of(std::begin(maps), std::end(maps), [nColours](const std::uint16_t* pMap) {
        return std::any_of(pMap, pMap + nColours, [](std::uint16_t value) { return value > 0xFF; });
    });
    for (std::size_t i = 0; i < nColours; ++i) {
        for (std::size_t channel = 0; channel < 3; ++channel) {
            const std::uint16_t value = maps[2 - channel][i];
            m_palette[i][channel] = wide ? From16Bits(value) : static_cast<std::uint8_t>(value);
        }
    }
}

void TiffColours::Unpack(const std::uint8_t* pStored) {
    const unsigned nUsed = m_layout.UsedSamples();
    const unsigned bits = m_layout.bits;
    const std::size_t nStep = m_layout.separate ? 1 : m_layout.samples;
    const unsigned mask = (1u << bits) - 1;
    for (unsigned sample = 0; sample < nUsed; ++sample) {
        // An index stays as it is, all else is stretched to 255.
        const bool index = m_layout.colour == TiffColour::kPalette && sample == 0;
        const unsigned factor = index || bits > 8 ? 1 : 255 / mask;
        const std::uint8_t* pPlane = pStored + (m_layout.separate ? sample * m_nPlaneBytes : 0);
        std::size_t from = m_layout.separate ? 0 : sample;
        std::uint8_t* pTo = m_unpacked.data() + sample;
        for (std::uint32_t x = 0; x < m_layout.width; ++x, from += nStep, pTo += nUsed) {
            if (bits == 16) {
                std::uint16_t value;
                std::memcpy(&value, pPlane + from * 2, sizeof(value));
                *pTo = From16Bits(value);
            } else {
                const std::size_t nBit = from * bits;
                const auto nShift = static_cast<unsigned>(8 - bits - nBit % 8);
                *pTo = static_cast<std::uint8_t>(((pPlane[nBit / 8] >> nShift) & mask) * factor);
            }
        }
    }
}

template <typename ColourOf>
void TiffColours::Paint(const std::uint8_t* pSamples, unsigned nStep, std::uint8_t* pOut,
                        ColourOf colourOf) const {
    if (m_layout.alpha == TiffAlpha::kNone) {
        for (std::uint32_t x = 0; x < m_layout.width; ++x, pSamples += nStep, pOut += 3) {
            const Colour colour = colourOf(pSamples);
            std::memcpy(pOut, colour.data(), 3);
        }
        return;
    }
    const bool premultiplied = m_layout.alpha == TiffAlpha::kPremultiplied;
    const unsigned nAlpha = m_layout.UsedSamples() - 1;
    for (std::uint32_t x = 0; x < m_layout.width; ++x, pSamples += nStep, pOut += 4) {
        const std::uint8_t alpha = pSamples[nAlpha];
        const Colour colour = colourOf(pSamples);
        for (std::size_t i = 0; i < 3; ++i)
            pOut[i] = premultiplied ? Divide(colour[i], alpha) : colour[i];
        pOut[3] = alpha;
    }
}

void TiffColours::Convert(const std::uint8_t* pStored, std::uint8_t* pOut) {
    const std::uint8_t* pSamples = pStored;
    unsigned nStep = m_layout.samples;
    if (!m_unpacked.empty()) {
        Unpack(pStored);
        pSamples = m_unpacked.data();
        nStep = m_layout.UsedSamples();
    }
    switch (m_layout.colour) {
        case TiffColour::kMinIsWhite:
            Paint(pSamples, nStep, pOut, [](const std::uint8_t* p) {
                const auto grey = static_cast<std::uint8_t>(255 - p[0]);
                return Colour{grey, grey, grey};
            });
            break;
        case TiffColour::kMinIsBlack:
            Paint(pSamples, nStep, pOut, [](const std::uint8_t* p) { return Colour{p[0], p[0], p[0]}; });
            break;
        case TiffColour::kPalette:
            Paint(pSamples, nStep, pOut, [this](const std::uint8_t* p) { return m_palette[p[0]]; });
            break;
        case TiffColour::kRgb:
            Paint(pSamples, nStep, pOut, [](const std::uint8_t* p) { return Colour{p[2], p[1], p[0]}; });
            break;
        case TiffColour::kCmyk:
            Paint(pSamples, nStep, pOut, [](const std::uint8_t* p) {
                const unsigned light = 255u - p[3];
                return Colour{Multiply(255u - p[2], light), Multiply(255u - p[1], light),
                              Multiply(255u - p[0], light)};
            });
            break;
    }
}

#include "PngPixels.h"

#include <cstring>

namespace {

// To the nearest value of 8 bits.
std::uint8_t Scaled(const std::uint8_t* pSample) {
    return static_cast<std::uint8_t>(((pSample[0] * 256u + pSample[1]) * 255 + 32895) >> 16);
}

template <unsigned kChannels>
void Scale(const std::uint8_t* pRow, std::uint32_t nWidth, std::uint8_t* pOut) {
    constexpr std::size_t kRed = 0, kGreen = kChannels == 1 ? 0 : 2, kBlue = kChannels == 1 ? 0 : 4;
    for (; nWidth > 0; --nWidth, pRow += 2 * kChannels, pOut += kChannels == 4 ? 4 : 3) {
        pOut[0] = Scaled(pRow + kBlue);
        pOut[1] = Scaled(pRow + kGreen);
        pOut[2] = Scaled(pRow + kRed);
        if constexpr (kChannels == 4) pOut[3] = Scaled(pRow + 6);
    }
}

void SpreadGreyAlpha(const std::uint8_t* pRow, std::uint32_t nWidth, std::uint8_t* pOut) {
    for (; nWidth > 0; --nWidth, pRow += 2, pOut += 4) {
        pOut[0] = pOut[1] = pOut[2] = pRow[0];
        pOut[3] = pRow[1];
    }
}

}  // namespace

PngPixels::PngPixels(png_structp pPng, png_infop pInfo)
    : m_nChannels(png_get_channels(pPng, pInfo)), m_nBits(png_get_bit_depth(pPng, pInfo)) {
    const int colourType = png_get_color_type(pPng, pInfo);
    const bool bAlphaChannel = (colourType & PNG_COLOR_MASK_ALPHA) != 0;
    const bool bTransparency = png_get_valid(pPng, pInfo, PNG_INFO_tRNS) != 0;
    m_bAlpha = bAlphaChannel || bTransparency;
    const bool bSingleByte = m_nChannels == 1 && m_nBits <= 8;
    m_bKnown = png_get_interlace_type(pPng, pInfo) == PNG_INTERLACE_NONE &&
               (m_nBits <= 8 || m_nChannels != 2) && (bSingleByte || !bTransparency);
    if (!bSingleByte) return;
    if (colourType == PNG_COLOR_TYPE_PALETTE) {
        TakePalette(pPng, pInfo);
    } else {
        MakeGreys();
        png_color_16p pKey = nullptr;
        if (png_get_tRNS(pPng, pInfo, nullptr, nullptr, &pKey) != 0 && pKey)
            m_colours[pKey->gray & ((1u << m_nBits) - 1)][3] = 0;
    }
}

void PngPixels::MakeGreys() {
    const unsigned nLast = (1u << m_nBits) - 1;
    for (unsigned i = 0; i <= nLast; ++i) {
        const auto grey = static_cast<std::uint8_t>(i * 255 / nLast);
        m_colours[i] = {grey, grey, grey, 255};
    }
}

// Entries that the file leaves out are black.
void PngPixels::TakePalette(png_structp pPng, png_infop pInfo) {
    png_colorp pColours = nullptr;
    png_bytep pAlphas = nullptr;
    int nColours = 0, nAlphas = 0;
    png_get_PLTE(pPng, pInfo, &pColours, &nColours);
    png_get_tRNS(pPng, pInfo, &pAlphas, &nAlphas, nullptr);
    for (int i = 0; i < 256; ++i) {
        std::array<std::uint8_t, 4>& colour = m_colours[static_cast<std::size_t>(i)];
        if (i < nColours) colour = {pColours[i].blue, pColours[i].green, pColours[i].red, 0};
        colour[3] = i < nAlphas ? pAlphas[i] : 255;
    }
}

void PngPixels::LookUp(const std::uint8_t* pRow, std::uint32_t nWidth, std::uint8_t* pOut) const {
    const std::size_t nStep = m_bAlpha ? 4 : 3;
    const unsigned nMask = (1u << m_nBits) - 1;
    unsigned nShift = 8;
    for (; nWidth > 0; --nWidth, pOut += nStep) {
        nShift -= m_nBits;
        std::memcpy(pOut, m_colours[*pRow >> nShift & nMask].data(), 4);
        if (nShift == 0) {
            nShift = 8;
            ++pRow;
        }
    }
}

void PngPixels::Convert(const std::uint8_t* pRow, std::uint32_t nWidth, std::uint8_t* pOut) const {
    if (m_nBits == 16) {
        const auto scale = m_nChannels == 1 ? Scale<1> : m_nChannels == 3 ? Scale<3> : Scale<4>;
        scale(pRow, nWidth, pOut);
    } else if (m_nChannels == 2) {
        SpreadGreyAlpha(pRow, nWidth, pOut);
    } else {
        LookUp(pRow, nWidth, pOut);
    }
}

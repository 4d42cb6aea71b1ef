#include "SyntheticPhoto.h"

#include <algorithm>
#include <cmath>

namespace Bench {
namespace {

// A value from -1 to 1 that is fixed for each place of a lattice.
float LatticeValue(std::uint32_t column, std::uint32_t row, std::uint32_t cell) {
    std::uint32_t hash = column * 0x9E3779B1u ^ row * 0x85EBCA77u ^ cell * 0xC2B2AE3Du;
    hash = (hash ^ hash >> 15) * 0x2C1B3C6Du;
    hash = (hash ^ hash >> 12) * 0x297A2D39u;
    return static_cast<float>((hash ^ hash >> 15) >> 8) / 8388608.0f - 1;
}

float Smooth(float share) {
    return share * share * (3 - 2 * share);
}

float Mixed(float a, float b, float share) {
    return a + (b - a) * share;
}

std::uint8_t ToByte(float value) {
    return static_cast<std::uint8_t>(std::clamp(value, 0.0f, 255.0f));
}

}  // namespace

SyntheticPhoto::SyntheticPhoto(std::uint32_t width, std::uint32_t height, unsigned channels)
    : m_nWidth(width), m_nHeight(height), m_nChannels(channels), m_skyline(width), m_detail(width) {
    for (std::uint32_t cell = std::max(width / 3, 1u); cell >= 4; cell /= 2)
        AddNoise(0, cell, 0.3f * static_cast<float>(cell) / static_cast<float>(width));
    for (std::uint32_t x = 0; x < width; ++x)
        m_skyline[x] = (0.4f + m_detail[x]) * static_cast<float>(height);
}

// Adds noise of one grain size, interpolated between the points of a lattice, to the row in work.
void SyntheticPhoto::AddNoise(std::uint32_t y, std::uint32_t cell, float strength) {
    const float down = Smooth(static_cast<float>(y % cell) / static_cast<float>(cell));
    const auto atColumn = [&](std::uint32_t column) {
        return strength *
               Mixed(LatticeValue(column, y / cell, cell), LatticeValue(column, y / cell + 1, cell), down);
    };
    float right = atColumn(0);
    for (std::uint32_t begin = 0; begin < m_nWidth; begin += cell) {
        const float left = right;
        right = atColumn(begin / cell + 1);
        const std::uint32_t end = std::min(begin + cell, m_nWidth);
        for (std::uint32_t x = begin; x < end; ++x)
            m_detail[x] +=
                Mixed(left, right, Smooth(static_cast<float>(x - begin) / static_cast<float>(cell)));
    }
}

void SyntheticPhoto::FillRow(std::uint32_t y, std::uint8_t* pRow) {
    std::fill(m_detail.begin(), m_detail.end(), 0.0f);
    float strength = 30;
    for (std::uint32_t cell = std::max(m_nWidth / 8, 2u); cell >= 2; cell /= 2, strength *= 0.8f)
        AddNoise(y, cell, strength);
    for (std::uint32_t x = 0; x < m_nWidth; ++x)
        PutPixel(x, y, pRow + std::size_t{x} * m_nChannels);
}

void SyntheticPhoto::PutPixel(std::uint32_t x, std::uint32_t y, std::uint8_t* pPixel) {
    m_nGrain = m_nGrain * 1664525u + 1013904223u;
    const float grain = static_cast<float>(m_nGrain >> 24) / 85.0f - 1.5f;
    const float down = static_cast<float>(y) / static_cast<float>(m_nHeight);
    const bool bSky = static_cast<float>(y) < m_skyline[x];
    // Land has lit and shaded sides, with an edge between them.
    const float light = bSky ? 0.1f * m_detail[x] : m_detail[x] + (m_detail[x] > 0 ? 20.0f : -10.0f);
    pPixel[0] = ToByte((bSky ? 225 : 100 - 50 * down) + light + grain);
    pPixel[1] = ToByte((bSky ? 150 + 120 * down : 120 - 20 * down) + light + grain);
    pPixel[2] = ToByte((bSky ? 90 + 220 * down : 110 - 30 * down) + 1.2f * light + grain);
    if (m_nChannels == 4) pPixel[3] = bSky ? ToByte(512 * down) : std::uint8_t{255};
}

TestSupport::Raster MakeSyntheticPhoto(std::uint32_t width, std::uint32_t height, unsigned channels) {
    SyntheticPhoto photo(width, height, channels);
    TestSupport::Raster raster(width, height, channels);
    for (std::uint32_t y = 0; y < height; ++y)
        photo.FillRow(y, raster.Row(y));
    return raster;
}

}  // namespace Bench

#include "JpegReducedRows.h"

#include <algorithm>

namespace {

// The factors of JFIF, clause 7, in 16 fractional bits, less a whole number that is added apart, so that they
// fit into 16 bits.
constexpr std::int16_t Fixed(double factor) {
    return static_cast<std::int16_t>(factor * 65536 + (factor < 0 ? -0.5 : 0.5));
}

constexpr std::int16_t kCrToRed = Fixed(1.402 - 1);
constexpr std::int16_t kCbToGreen = -Fixed(0.34414);
constexpr std::int16_t kCrToGreen = Fixed(1 - 0.71414);
constexpr std::int16_t kCbToBlue = Fixed(1.772 - 2);

int Round(int fixed) {
    return (fixed + 32768) >> 16;
}

std::uint8_t Clamp(int value) {
    return static_cast<std::uint8_t>(value < 0 ? 0 : value > 255 ? 255 : value);
}

std::int16_t Chroma(std::uint8_t sample) {
    return static_cast<std::int16_t>(sample - 128);
}

// Loops so simple that the compiler makes vectors of them.

void MakeRed(const std::uint8_t* pLuma, const std::uint8_t* pCr, std::uint8_t* pTo, std::size_t nWidth) {
    for (std::size_t x = 0; x < nWidth; ++x) {
        const std::int16_t cr = Chroma(pCr[x]);
        pTo[x] = Clamp(pLuma[x] + cr + Round(kCrToRed * cr));
    }
}

void MakeGreen(const std::uint8_t* pLuma, const std::uint8_t* pCb, const std::uint8_t* pCr, std::uint8_t* pTo,
               std::size_t nWidth) {
    for (std::size_t x = 0; x < nWidth; ++x) {
        const std::int16_t cb = Chroma(pCb[x]);
        const std::int16_t cr = Chroma(pCr[x]);
        pTo[x] = Clamp(pLuma[x] - cr + Round(kCbToGreen * cb + kCrToGreen * cr));
    }
}

void MakeBlue(const std::uint8_t* pLuma, const std::uint8_t* pCb, std::uint8_t* pTo, std::size_t nWidth) {
    for (std::size_t x = 0; x < nWidth; ++x) {
        const std::int16_t cb = Chroma(pCb[x]);
        pTo[x] = Clamp(pLuma[x] + 2 * cb + Round(kCbToBlue * cb));
    }
}

// To blue, green, red. Copies, because anything might change when a byte is written.
void Interleave(const std::array<const std::uint8_t*, 3>& rows, std::uint8_t* pTo, std::size_t nWidth) {
    const auto [pRed, pGreen, pBlue] = rows;
    for (std::size_t x = 0; x < nWidth; ++x, pTo += 3) {
        pTo[0] = pBlue[x];
        pTo[1] = pGreen[x];
        pTo[2] = pRed[x];
    }
}

}  // namespace

JpegReducedRows::JpegReducedRows(const JpegScans& scans, std::uint32_t eighths, RowSink& sink)
    : m_scans(scans),
      m_eighths(eighths),
      m_sink(sink),
      m_nWidth((scans.Layout().width * eighths + 7) / 8),
      m_nHeight((scans.Layout().height * eighths + 7) / 8),
      m_row(std::size_t{m_nWidth} * 3) {
    RowShape shape;
    shape.width = m_nWidth;
    shape.height = m_nHeight;
    shape.extentX = scans.Layout().width * (eighths / 8.0);
    shape.extentY = scans.Layout().height * (eighths / 8.0);
    sink.Begin(shape);
}

bool JpegReducedRows::AddUnits(JpegPlanes& planes, std::size_t unitRow) {
    const JpegLayout& layout = m_scans.Layout();
    for (std::size_t c = 0; c < layout.components.size(); ++c) {
        const auto* pQuantiser = m_scans.Tables().FindQuantiser(layout.components[c].quantiser);
        if (!pQuantiser || !planes[c].MakeSamples(*pQuantiser, unitRow)) return false;
    }
    for (std::uint32_t row = 0; row < layout.maxV * m_eighths && m_nRows < m_nHeight; ++row, ++m_nRows)
        AddRow(planes, unitRow, row);
    return true;
}

bool JpegReducedRows::AddAll(JpegPlanes& planes) {
    for (std::uint32_t unitRow = 0; unitRow < m_scans.Layout().unitsHigh; ++unitRow) {
        if (!AddUnits(planes, unitRow)) return false;
    }
    return true;
}

void JpegReducedRows::AddRow(const JpegPlanes& planes, std::size_t unitRow, std::uint32_t row) {
    const JpegLayout& layout = m_scans.Layout();
    std::array<const std::uint8_t*, 3> rows{};
    for (std::size_t c = 0; c < layout.components.size(); ++c) {
        const JpegComponent& component = layout.components[c];
        const std::uint32_t nCovering = row * component.v * planes[c].Down() / (layout.maxV * m_eighths);
        rows[c] = Spread(c, planes[c].SampleRow(unitRow, nCovering),
                         layout.maxH * m_eighths / (component.h * planes[c].Across()));
    }
    if (layout.components.size() == 1) rows[1] = rows[2] = rows[0];
    if (m_scans.IsYCbCr()) ConvertYCbCr(rows);
    Interleave(rows, m_row.data(), m_nWidth);
    m_sink.AddRow(m_row.data());
}

// As many samples as pixels.
const std::uint8_t* JpegReducedRows::Spread(std::size_t nComponent, const std::uint8_t* pSamples,
                                            std::uint32_t nRepeat) {
    if (nRepeat == 1) return pSamples;
    std::vector<std::uint8_t>& row = m_spread[nComponent];
    row.resize(m_nWidth + nRepeat);
    for (std::uint32_t x = 0; x < m_nWidth; x += nRepeat, ++pSamples)
        std::fill_n(row.begin() + x, nRepeat, *pSamples);
    return row.data();
}

// Plane by plane.
void JpegReducedRows::ConvertYCbCr(std::array<const std::uint8_t*, 3>& rows) {
    for (auto& row : m_converted)
        row.resize(m_nWidth);
    MakeRed(rows[0], rows[2], m_converted[0].data(), m_nWidth);
    MakeGreen(rows[0], rows[1], rows[2], m_converted[1].data(), m_nWidth);
    MakeBlue(rows[0], rows[1], m_converted[2].data(), m_nWidth);
    for (std::size_t c = 0; c < rows.size(); ++c)
        rows[c] = m_converted[c].data();
}

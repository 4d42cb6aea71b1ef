#include "JpegEighthRows.h"

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

}  // namespace

JpegEighthRows::JpegEighthRows(const JpegScans& scans, RowSink& sink)
    : m_scans(scans),
      m_sink(sink),
      m_nWidth((scans.Layout().width + 7) / 8),
      m_nHeight((scans.Layout().height + 7) / 8),
      m_row(std::size_t{m_nWidth} * 3) {
    RowShape shape;
    shape.width = m_nWidth;
    shape.height = m_nHeight;
    shape.extentX = scans.Layout().width / 8.0;
    shape.extentY = scans.Layout().height / 8.0;
    sink.Begin(shape);
}

// As many samples as pixels.
const std::uint8_t* JpegEighthRows::Spread(std::size_t nComponent, const Samples& samples) {
    const JpegLayout& layout = m_scans.Layout();
    const std::uint32_t nRepeat = layout.maxH / (layout.components[nComponent].h * samples.perBlock);
    if (nRepeat == 1) return samples.pRow;
    std::vector<std::uint8_t>& row = m_spread[nComponent];
    row.resize(m_nWidth);
    for (std::uint32_t x = 0; x < m_nWidth; ++x)
        row[x] = samples.pRow[x / nRepeat];
    return row.data();
}

void JpegEighthRows::Add(const std::array<Samples, 3>& components) {
    std::array<const std::uint8_t*, 3> rows{};
    for (std::size_t c = 0; c < m_scans.Layout().components.size(); ++c)
        rows[c] = Spread(c, components[c]);
    if (m_scans.Layout().components.size() == 1) rows[1] = rows[2] = rows[0];
    if (m_scans.IsYCbCr()) ConvertYCbCr(rows);
    std::uint8_t* pBgr = m_row.data();
    for (std::size_t x = 0; x < m_nWidth; ++x, pBgr += 3) {
        pBgr[0] = rows[2][x];
        pBgr[1] = rows[1][x];
        pBgr[2] = rows[0][x];
    }
    m_sink.AddRow(m_row.data());
}

// Plane by plane.
void JpegEighthRows::ConvertYCbCr(std::array<const std::uint8_t*, 3>& rows) {
    for (auto& row : m_converted)
        row.resize(m_nWidth);
    MakeRed(rows[0], rows[2], m_converted[0].data(), m_nWidth);
    MakeGreen(rows[0], rows[1], rows[2], m_converted[1].data(), m_nWidth);
    MakeBlue(rows[0], rows[1], m_converted[2].data(), m_nWidth);
    for (std::size_t c = 0; c < rows.size(); ++c)
        rows[c] = m_converted[c].data();
}

#include "JpegProgressiveDc.h"

#include <algorithm>
#include <optional>

#include "JpegEighthRows.h"
#include "JpegNumberTable.h"
#include "JpegQuarters.h"
#include "JpegUnits.h"

namespace {

// The DC coefficients of a component, as far as they have come.
struct Plane {
    std::size_t stride = 0;
    std::vector<std::int16_t> coefficients;
    bool begun = false;
    int shift = 0;                      // place of the last bit that has come
    std::vector<std::uint8_t> samples;  // a row of them
};

// A component in a scan.
struct Part {
    Plane& plane;
    std::optional<JpegNumberTable> table;  // none in a scan that refines
    std::uint32_t h;                       // blocks of a unit
    std::uint32_t v;
};

class ProgressiveDc {
  public:
    ProgressiveDc(ByteSource& source, JpegScans& scans)
        : m_source(source), m_scans(scans), m_layout(scans.Layout()) {}

    /// Goes on until the coefficients are complete.
    bool Read(JpegScan scan);

    bool AddRows(RowSink& sink);

  private:
    bool IsComplete() const;
    bool MakeParts(const JpegScan& scan, std::vector<Part>& parts);
    bool ReadScan(const JpegScan& scan);
    bool ReadUnit(const JpegScan& scan, std::vector<Part>& parts, JpegUnits& units, std::uint32_t unitX,
                  std::uint32_t unitY);
    static bool ReadBlock(const JpegScan& scan, const Part& part, JpegBits& bits, int& prediction,
                          std::int16_t& dc);
    bool MakeSamples(std::size_t nComponent, std::uint32_t y);

    ByteSource& m_source;
    JpegScans& m_scans;
    const JpegLayout& m_layout;
    std::array<Plane, 3> m_planes;
};

bool ProgressiveDc::IsComplete() const {
    return std::all_of(m_planes.begin(),
                       m_planes.begin() + static_cast<std::ptrdiff_t>(m_layout.components.size()),
                       [](const Plane& plane) { return plane.begun && plane.shift == 0; });
}

bool ProgressiveDc::Read(JpegScan scan) {
    for (std::size_t c = 0; c < m_layout.components.size(); ++c) {
        const JpegComponent& component = m_layout.components[c];
        m_planes[c].stride = std::size_t{m_layout.unitsWide} * component.h;
        m_planes[c].coefficients.resize(m_planes[c].stride * m_layout.unitsHigh * component.v);
    }
    for (;;) {
        if (scan.firstCoefficient == 0 && !ReadScan(scan)) return false;
        if (IsComplete()) return true;
        m_scans.SkipData(scan);
        if (!m_scans.Next(scan)) return false;
    }
}

bool ProgressiveDc::MakeParts(const JpegScan& scan, std::vector<Part>& parts) {
    constexpr int kMaxShift = 13;
    if (scan.lastCoefficient != 0 || scan.shift > kMaxShift) return false;
    const bool refines = scan.shiftBefore != 0;
    if (refines && scan.shiftBefore != scan.shift + 1) return false;
    for (const JpegScan::Part& part : scan.parts) {
        const JpegComponent& component = m_layout.components[part.component];
        const bool alone = scan.parts.size() == 1;
        Plane& plane = m_planes[part.component];
        if (plane.begun != refines || (refines && plane.shift != scan.shiftBefore)) return false;
        parts.push_back({plane, {}, alone ? 1 : component.h, alone ? 1 : component.v});
        if (refines) continue;
        const JpegHuffmanCode* pCode = m_scans.Tables().FindDcCode(part.dcCode);
        if (!pCode) return false;
        parts.back().table.emplace(*pCode);
    }
    return true;
}

bool ProgressiveDc::ReadScan(const JpegScan& scan) {
    std::vector<Part> parts;
    if (!MakeParts(scan, parts)) return false;
    const auto [wide, high] = m_scans.UnitsOf(scan);
    JpegUnits units(m_source, scan, m_scans.Tables());
    for (std::uint32_t y = 0; y < high; ++y) {
        for (std::uint32_t x = 0; x < wide; ++x) {
            if (!units.Next() || !ReadUnit(scan, parts, units, x, y)) return false;
        }
        if (units.reader.HasOverrun()) return false;
    }
    for (const Part& part : parts) {
        part.plane.begun = true;
        part.plane.shift = scan.shift;
    }
    return true;
}

// A unit is one block of a component on its own, or all blocks of a patch of the picture.
bool ProgressiveDc::ReadUnit(const JpegScan& scan, std::vector<Part>& parts, JpegUnits& units,
                             std::uint32_t unitX, std::uint32_t unitY) {
    JpegBits bits = units.reader.bits;
    int* pPrediction = units.predictions.data();
    for (const Part& part : parts) {
        for (std::uint32_t y = 0; y < part.v; ++y) {
            std::int16_t* pDc = part.plane.coefficients.data() +
                                std::size_t{unitY * part.v + y} * part.plane.stride + unitX * part.h;
            for (std::uint32_t x = 0; x < part.h; ++x) {
                if (!ReadBlock(scan, part, bits, *pPrediction, pDc[x])) return false;
            }
        }
        ++pPrediction;
    }
    units.reader.bits = bits;
    return true;
}

bool ProgressiveDc::ReadBlock(const JpegScan& scan, const Part& part, JpegBits& bits, int& prediction,
                              std::int16_t& dc) {
    bits.Refill();
    if (!part.table) {
        dc = static_cast<std::int16_t>(dc | static_cast<int>(bits.Peek(1) << scan.shift));
        bits.Skip(1);
        return true;
    }
    const JpegNumberTable::Entry difference = part.table->Find(bits);
    if (difference.length == 0) return false;
    bits.Skip(difference.length);
    prediction += difference.value;
    if (!IsJpegCoefficient(prediction) || !IsJpegCoefficient(prediction * (1 << scan.shift))) return false;
    dc = static_cast<std::int16_t>(prediction * (1 << scan.shift));
    return true;
}

// Each for 8 x 8 samples of the full picture: their mean.
bool ProgressiveDc::MakeSamples(std::size_t nComponent, std::uint32_t y) {
    Plane& plane = m_planes[nComponent];
    const JpegTables::Quantiser* pQuantiser =
        m_scans.Tables().FindQuantiser(m_layout.components[nComponent].quantiser);
    if (!pQuantiser) return false;
    plane.samples.resize(plane.stride);
    const int step = (*pQuantiser)[0];
    const std::int16_t* pRow = plane.coefficients.data() + y * plane.stride;
    bool good = true;
    for (std::size_t x = 0; x < plane.stride; ++x) {
        good &= IsJpegCoefficient(pRow[x] * step);
        plane.samples[x] = JpegSample((pRow[x] * step + 4) >> 3);
    }
    return good;
}

bool ProgressiveDc::AddRows(RowSink& sink) {
    JpegEighthRows rows(m_scans, sink);
    for (std::uint32_t y = 0; y < rows.Height(); ++y) {
        std::array<JpegEighthRows::Samples, 3> samples{};
        for (std::size_t c = 0; c < m_layout.components.size(); ++c) {
            if (!MakeSamples(c, y * m_layout.components[c].v / m_layout.maxV)) return false;
            samples[c] = {m_planes[c].samples.data(), 1};
        }
        rows.Add(samples);
    }
    return true;
}

}  // namespace

bool DecodeProgressiveDc(ByteSource& source, JpegScans& scans, const JpegScan& scan, RowSink& sink) {
    ProgressiveDc decoder(source, scans);
    return decoder.Read(scan) && decoder.AddRows(sink);
}

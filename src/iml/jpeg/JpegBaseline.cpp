#include "JpegBaseline.h"

#include <algorithm>
#include <utility>

#include "JpegBaselineScan.h"
#include "JpegReducedRows.h"
#include "JpegUnits.h"

namespace {

class Baseline {
  public:
    Baseline(ByteSource& source, JpegScans& scans, std::uint32_t eighths, RowSink& sink)
        : m_source(source), m_scans(scans), m_layout(scans.Layout()), m_eighths(eighths), m_sink(sink) {}

    bool Decode(const JpegScan& first) {
        m_planes = ShapeJpegPlanes(m_layout, m_eighths);
        if (m_eighths == 1 && !ChooseQuarters()) return false;
        const bool streams = first.parts.size() == m_layout.components.size();
        if (!AllocateJpegPlanes(m_planes, streams ? 1 : m_layout.unitsHigh, m_source.Size())) return false;
        return streams ? DecodeStream(first) : DecodeScans(first);
    }

  private:
    bool ChooseQuarters();
    bool DecodeStream(const JpegScan& header);
    bool DecodeScans(JpegScan header);
    bool DecodeScan(const JpegScan& header);

    ByteSource& m_source;
    JpegScans& m_scans;
    const JpegLayout& m_layout;
    std::uint32_t m_eighths;
    RowSink& m_sink;
    JpegPlanes m_planes;
};

// Components that are sampled more coarsely than others, libjpeg takes at a larger scale if it can.
bool Baseline::ChooseQuarters() {
    for (std::size_t c = 0; c < m_layout.components.size(); ++c) {
        const std::uint32_t across = m_layout.maxH / m_layout.components[c].h;
        const std::uint32_t down = m_layout.maxV / m_layout.components[c].v;
        if (across % 4 == 0 && down % 4 == 0) return false;
        m_planes[c].quarters = across % 2 == 0 && down % 2 == 0;
    }
    return true;
}

bool Baseline::DecodeStream(const JpegScan& header) {
    JpegBaselineScan scan;
    if (!scan.Prepare(m_scans, header, m_planes)) return false;
    JpegUnits units(m_source, header, m_scans.Tables());
    JpegReducedRows rows(m_scans, m_eighths, m_sink);
    for (std::uint32_t unitY = 0; unitY < m_layout.unitsHigh; ++unitY) {
        for (JpegPlane& plane : m_planes)
            std::ranges::fill(plane.coefficients, std::int16_t{0});
        if (!scan.DecodeUnits(units, m_layout.unitsWide, 0) || !rows.AddUnits(m_planes, 0)) return false;
    }
    // libjpeg reads a little ahead, and shows less where the file ends there.
    return !units.HasReachedEnd();
}

bool Baseline::DecodeScans(JpegScan header) {
    std::array<bool, 3> complete{};
    for (std::size_t nComplete = 0;;) {
        for (const JpegScan::Part& part : header.parts) {
            if (std::exchange(complete[part.component], true)) return false;  // comes twice
        }
        if (!DecodeScan(header)) return false;
        m_scans.SkipData(header);
        nComplete += header.parts.size();
        if (nComplete == m_layout.components.size()) break;
        if (!m_scans.Next(header)) return false;
    }
    if (!m_scans.IsAtEnd()) return false;
    return JpegReducedRows(m_scans, m_eighths, m_sink).AddAll(m_planes);
}

bool Baseline::DecodeScan(const JpegScan& header) {
    JpegBaselineScan scan;
    if (!scan.Prepare(m_scans, header, m_planes)) return false;
    const auto [wide, high] = m_scans.UnitsOf(header);
    JpegUnits units(m_source, header, m_scans.Tables());
    for (std::uint32_t y = 0; y < high; ++y) {
        if (!scan.DecodeUnits(units, wide, y)) return false;
    }
    return units.IsAtMarker();
}

}  // namespace

bool DecodeJpegBaseline(ByteSource& source, JpegScans& scans, const JpegScan& scan, std::uint32_t eighths,
                        RowSink& sink) {
    return Baseline(source, scans, eighths, sink).Decode(scan);
}

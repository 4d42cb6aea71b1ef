#include "JpegBaselineDc.h"

#include "JpegBaselineScan.h"
#include "JpegEighthRows.h"
#include "JpegUnits.h"

namespace {

class BaselineDc {
  public:
    BaselineDc(ByteSource& source, JpegScans& scans, RowSink& sink)
        : m_source(source), m_scans(scans), m_layout(scans.Layout()), m_sink(sink) {}

    bool Decode(const JpegScan& first) {
        const bool streams = first.parts.size() == m_layout.components.size();
        if (!MakePlanes(streams ? 1 : m_layout.unitsHigh)) return false;
        return streams ? DecodeStream(first) : DecodeScans(first);
    }

  private:
    bool MakePlanes(std::uint32_t nUnitsHigh);
    bool DecodeStream(const JpegScan& header);
    bool DecodeScans(JpegScan header);
    bool DecodeScan(const JpegScan& header);
    void AddAllRows();
    void AddRow(JpegEighthRows& rows, std::uint32_t y) const;

    ByteSource& m_source;
    JpegScans& m_scans;
    const JpegLayout& m_layout;
    RowSink& m_sink;
    std::array<JpegPlane, 3> m_planes;
};

// Components that are sampled more coarsely than others, libjpeg takes at a larger scale if it can.
bool BaselineDc::MakePlanes(std::uint32_t nUnitsHigh) {
    for (std::size_t c = 0; c < m_layout.components.size(); ++c) {
        const JpegComponent& component = m_layout.components[c];
        const std::uint32_t across = m_layout.maxH / component.h;
        const std::uint32_t down = m_layout.maxV / component.v;
        if (across % 4 == 0 && down % 4 == 0) return false;
        JpegPlane& plane = m_planes[c];
        plane.perBlock = across % 2 == 0 && down % 2 == 0 ? 2 : 1;
        plane.stride = std::size_t{m_layout.unitsWide} * component.h * plane.perBlock;
        plane.samples.resize(plane.stride * component.v * plane.perBlock * nUnitsHigh);
    }
    return true;
}

bool BaselineDc::DecodeStream(const JpegScan& header) {
    JpegBaselineScan scan;
    if (!scan.Prepare(m_scans, header, m_planes)) return false;
    JpegUnits units(m_source, header, m_scans.Tables());
    JpegEighthRows rows(m_scans, m_sink);
    for (std::uint32_t unitY = 0; unitY < m_layout.unitsHigh; ++unitY) {
        if (!scan.DecodeUnits(units, m_layout.unitsWide, 0)) return false;
        const std::uint32_t nFirst = unitY * m_layout.maxV;
        for (std::uint32_t y = 0; y < m_layout.maxV && nFirst + y < rows.Height(); ++y)
            AddRow(rows, y);
    }
    // libjpeg reads a little ahead, and shows less where the file ends there.
    return !units.reader.HasReachedEnd();
}

bool BaselineDc::DecodeScans(JpegScan header) {
    for (std::size_t nComplete = 0;;) {
        if (!DecodeScan(header)) return false;
        m_scans.SkipData(header);
        for (const JpegScan::Part& part : header.parts)
            m_planes[part.component].complete = true;
        nComplete += header.parts.size();  // no component comes twice
        if (nComplete == m_layout.components.size()) break;
        if (!m_scans.Next(header)) return false;
    }
    if (!m_scans.IsAtEnd()) return false;
    AddAllRows();
    return true;
}

bool BaselineDc::DecodeScan(const JpegScan& header) {
    JpegBaselineScan scan;
    if (!scan.Prepare(m_scans, header, m_planes)) return false;
    const auto [wide, high] = m_scans.UnitsOf(header);
    JpegUnits units(m_source, header, m_scans.Tables());
    for (std::uint32_t y = 0; y < high; ++y) {
        if (!scan.DecodeUnits(units, wide, y)) return false;
    }
    return units.reader.IsAtMarker();
}

void BaselineDc::AddAllRows() {
    JpegEighthRows rows(m_scans, m_sink);
    for (std::uint32_t y = 0; y < rows.Height(); ++y)
        AddRow(rows, y);
}

void BaselineDc::AddRow(JpegEighthRows& rows, std::uint32_t y) const {
    std::array<JpegEighthRows::Samples, 3> samples{};
    for (std::size_t c = 0; c < m_layout.components.size(); ++c) {
        const JpegPlane& plane = m_planes[c];
        const std::size_t row = y * m_layout.components[c].v * plane.perBlock / m_layout.maxV;
        samples[c] = {plane.samples.data() + row * plane.stride, plane.perBlock};
    }
    rows.Add(samples);
}

}  // namespace

bool DecodeBaselineDc(ByteSource& source, JpegScans& scans, const JpegScan& scan, RowSink& sink) {
    return BaselineDc(source, scans, sink).Decode(scan);
}

#include "JpegProgressive.h"

#include <utility>

#include "JpegProgressiveAcScan.h"
#include "JpegProgressiveDcScan.h"
#include "JpegReducedRows.h"
#include "iml/Limits.h"

namespace {

class Progressive {
  public:
    Progressive(ByteSource& source, JpegScans& scans, std::uint32_t eighths)
        : m_source(source), m_scans(scans), m_layout(scans.Layout()), m_eighths(eighths) {
        for (auto& shifts : m_shifts)
            shifts.fill(kNotBegun);
    }

    /// Goes on until the coefficients that count are complete.
    bool Read(JpegScan scan);

    bool AddRows(RowSink& sink);

  private:
    // Instead of a place of bits.
    static constexpr int kNotBegun = -1;
    static constexpr int kMaxShift = 13;

    bool Allocate();
    bool Matters(const JpegScan& scan) const;
    bool Begin(const JpegScan& scan);
    bool Decode(const JpegScan& scan);
    bool IsComplete() const;

    ByteSource& m_source;
    JpegScans& m_scans;
    const JpegLayout& m_layout;
    std::uint32_t m_eighths;
    JpegPlanes m_planes;
    std::array<std::array<int, 64>, 3>
        m_shifts;                  // by component and coefficient: place of the last bit to come
    std::uint64_t m_nBlocks = 0;   // of the picture
    std::uint64_t m_nVisited = 0;  // by all scans
};

bool Progressive::Allocate() {
    m_planes = ShapeJpegPlanes(m_layout, m_eighths);
    for (JpegPlane& plane : m_planes) {
        plane.tracksNonzero = plane.waves.End() > 1;
        m_nBlocks += plane.Blocks(m_layout.unitsHigh);
    }
    return AllocateJpegPlanes(m_planes, m_layout.unitsHigh, m_source.Size());
}

bool Progressive::Read(JpegScan scan) {
    if (!Allocate()) return false;
    for (;;) {
        if (Matters(scan)) {
            if (!Begin(scan) || !Decode(scan)) return false;
            if (IsComplete()) return true;
        }
        m_scans.SkipData(scan);
        if (!m_scans.Next(scan)) return false;
    }
}

// Where only DC counts, what the others are does not tell anything about it.
bool Progressive::Matters(const JpegScan& scan) const {
    return scan.firstCoefficient == 0 || m_planes[scan.parts[0].component].tracksNonzero;
}

// Each coefficient comes from the top, bit by bit after the first time.
bool Progressive::Begin(const JpegScan& scan) {
    m_nVisited += m_nBlocks;
    if (m_nVisited > kMaxBlockVisits + m_nBlocks) return false;
    if (scan.lastCoefficient < scan.firstCoefficient || scan.lastCoefficient > 63) return false;
    if (scan.shift > kMaxShift) return false;
    if (scan.Refines() && scan.shiftBefore != scan.shift + 1) return false;
    const int before = scan.Refines() ? scan.shiftBefore : kNotBegun;
    for (const JpegScan::Part& part : scan.parts) {
        for (int i = scan.firstCoefficient; i <= scan.lastCoefficient; ++i) {
            int& shift = m_shifts[part.component][static_cast<std::size_t>(i)];
            if (shift != before) return false;
            shift = scan.shift;
        }
    }
    return true;
}

bool Progressive::Decode(const JpegScan& scan) {
    JpegUnits units(m_source, scan, m_scans.Tables());
    return scan.firstCoefficient == 0 ? JpegProgressiveDcScan(m_scans, scan, m_planes).Decode(units)
                                      : JpegProgressiveAcScan(m_scans, scan, m_planes).Decode(units);
}

bool Progressive::IsComplete() const {
    for (std::size_t c = 0; c < m_layout.components.size(); ++c) {
        for (unsigned i = 0; i < 64; ++i) {
            if ((m_planes[c].waves.Counted() >> i & 1) != 0 && m_shifts[c][i] != 0) return false;
        }
    }
    return true;
}

bool Progressive::AddRows(RowSink& sink) {
    return JpegReducedRows(m_scans, m_eighths, sink).AddAll(m_planes);
}

}  // namespace

bool DecodeJpegProgressive(ByteSource& source, JpegScans& scans, JpegScan scan, std::uint32_t eighths,
                           RowSink& sink) {
    Progressive decoder(source, scans, eighths);
    return decoder.Read(std::move(scan)) && decoder.AddRows(sink);
}

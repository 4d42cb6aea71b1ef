#include "JpegScans.h"

#include <algorithm>

#include "iml/Limits.h"

namespace {

constexpr std::uint32_t kMaxBlocksOfUnit = 10;  // T.81, B.2.3

std::uint32_t DivideUp(std::uint32_t a, std::uint32_t b) {
    return (a + b - 1) / b;
}

bool ReadSegment(ByteSource& source, const JpegSegment& segment, std::vector<std::uint8_t>& bytes) {
    bytes.resize(segment.size);
    return source.ReadAllAt(segment.offset, bytes.data(), bytes.size());
}

}  // namespace

bool JpegScans::Next(JpegScan& scan) {
    JpegSegment segment;
    while (m_segments.Next(segment)) {
        if (segment.marker == kJpegSos) return ++m_nScans <= kMaxScans && ReadScan(segment, scan);
        const bool good = segment.IsFrame() ? ReadFrame(segment) : m_tables.Read(m_source, segment);
        if (!good) return false;
    }
    return false;
}

bool JpegScans::IsAtEnd() const {
    std::uint8_t bytes[2];
    return m_source.ReadAllAt(m_segments.Position(), bytes, sizeof bytes) && bytes[0] == 0xFF &&
           bytes[1] == kJpegEoi;
}

JpegUnitCounts JpegScans::UnitsOf(const JpegScan& scan) const {
    if (scan.parts.size() > 1) return {m_layout.unitsWide, m_layout.unitsHigh};
    const JpegComponent& component = m_layout.components[scan.parts[0].component];
    return {component.blocksWide, component.blocksHigh};
}

bool JpegScans::ReadFrame(const JpegSegment& segment) {
    std::vector<std::uint8_t> bytes;
    if (!m_layout.components.empty() || segment.marker != m_frame.marker) return false;
    if (m_frame.components != 1 && m_frame.components != 3) return false;
    if (segment.size != 6 + 3 * m_frame.components || !ReadSegment(m_source, segment, bytes)) return false;
    return bytes[0] == 8 && ReadComponents(bytes);
}

bool JpegScans::ReadComponents(const std::vector<std::uint8_t>& bytes) {
    for (std::size_t i = 6; i < bytes.size(); i += 3) {
        JpegComponent component;
        component.id = bytes[i];
        component.h = bytes[i + 1] >> 4;
        component.v = bytes[i + 1] & 15;
        component.quantiser = bytes[i + 2];
        if (component.h < 1 || component.h > 4 || component.v < 1 || component.v > 4) return false;
        if (std::ranges::find(m_layout.components, component.id, &JpegComponent::id) !=
            m_layout.components.end())
            return false;
        // Sampling is a relation, and a single component has none.
        if (m_frame.components == 1) component.h = component.v = 1;
        m_layout.maxH = std::max(m_layout.maxH, component.h);
        m_layout.maxV = std::max(m_layout.maxV, component.v);
        m_layout.components.push_back(component);
    }
    m_layout.width = m_frame.width;
    m_layout.height = m_frame.height;
    m_layout.unitsWide = DivideUp(m_frame.width, 8 * m_layout.maxH);
    m_layout.unitsHigh = DivideUp(m_frame.height, 8 * m_layout.maxV);
    for (JpegComponent& component : m_layout.components) {
        if (m_layout.maxH % component.h != 0 || m_layout.maxV % component.v != 0) return false;
        component.blocksWide = DivideUp(m_frame.width * component.h, 8 * m_layout.maxH);
        component.blocksHigh = DivideUp(m_frame.height * component.v, 8 * m_layout.maxV);
    }
    return true;
}

bool JpegScans::ReadScan(const JpegSegment& segment, JpegScan& scan) {
    std::vector<std::uint8_t> bytes;
    if (m_layout.components.empty() || segment.size > 4 + 2 * 3) return false;
    if (!ReadSegment(m_source, segment, bytes) || bytes.empty() || bytes.size() != 4u + 2u * bytes[0])
        return false;
    if (m_nScans == 1 && !FindColours()) return false;
    scan = {};
    const std::uint8_t* p = &bytes[bytes.size() - 3];
    scan.firstCoefficient = p[0];
    scan.lastCoefficient = p[1];
    scan.shiftBefore = p[2] >> 4;
    scan.shift = p[2] & 15;
    scan.data = segment.End();
    return ReadParts(bytes, scan);
}

bool JpegScans::ReadParts(const std::vector<std::uint8_t>& bytes, JpegScan& scan) const {
    std::uint32_t nBlocks = 0;
    auto component = m_layout.components.begin();
    for (std::size_t i = 1; i + 3 < bytes.size(); i += 2, ++component) {
        component = std::find_if(component, m_layout.components.end(),
                                 [&](const JpegComponent& c) { return c.id == bytes[i]; });
        if (component == m_layout.components.end()) return false;
        const auto nIndex = static_cast<std::size_t>(component - m_layout.components.begin());
        scan.parts.push_back({nIndex, std::size_t{bytes[i + 1]} >> 4, std::size_t{bytes[i + 1]} & 15});
        nBlocks += component->h * component->v;
    }
    return !scan.parts.empty() && (scan.parts.size() == 1 || nBlocks <= kMaxBlocksOfUnit);
}

bool JpegScans::FindColours() {
    const auto& components = m_layout.components;
    if (components.size() != 3) return true;
    if (m_tables.HasJfif()) {
        m_isYCbCr = true;
    } else if (m_tables.AdobeTransform() >= 0) {
        m_isYCbCr = m_tables.AdobeTransform() == 1;
        return m_tables.AdobeTransform() <= 1;
    } else {
        m_isYCbCr = components[0].id != 'R' || components[1].id != 'G' || components[2].id != 'B';
    }
    return true;
}

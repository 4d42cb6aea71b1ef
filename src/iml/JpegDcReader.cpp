#include "JpegDcReader.h"

#include <algorithm>
#include <iterator>
#include <span>
#include <string_view>

#include "Limits.h"

namespace {

constexpr std::uint8_t kDqt = 0xDB;
constexpr std::uint8_t kDri = 0xDD;
constexpr std::uint8_t kApp0 = 0xE0;
constexpr std::uint8_t kApp14 = 0xEE;

std::uint32_t DivideUp(std::uint32_t a, std::uint32_t b) {
    return (a + b - 1) / b;
}

bool BeginsWith(const std::vector<std::uint8_t>& bytes, std::string_view text) {
    return bytes.size() >= text.size() &&
           std::equal(text.begin(), text.end(), bytes.begin(),
                      [](char c, std::uint8_t b) { return static_cast<std::uint8_t>(c) == b; });
}

// The number that `bits` stand for in a field of `size` bits (T.81, figure F.12).
int Extend(std::uint32_t bits, int size) {
    const int value = static_cast<int>(bits);
    return value < 1 << (size - 1) ? value - (1 << size) + 1 : value;
}

}  // namespace

bool JpegDcReader::Read(const JpegFrame& frame) {
    JpegSegments segments(m_source);
    JpegSegment segment;
    std::vector<std::uint8_t> bytes;
    int nScans = 0;
    for (bool begun = false; !begun || !IsComplete();) {
        if (!segments.Next(segment)) return false;
        if (segment.marker != kJpegSos && !segment.IsFrame()) {
            if (!ReadSegment(segment)) return false;
            continue;
        }
        bytes.resize(segment.size);
        if (!m_source.ReadAllAt(segment.offset, bytes.data(), bytes.size())) return false;
        if (segment.IsFrame()) {
            if (begun || !ReadFrame(bytes, frame)) return false;
            begun = true;
            continue;
        }
        Scan scan;
        if (++nScans > kMaxScans || !ReadScanHeader(bytes, scan)) return false;
        if (scan.dc && !DecodeScan(scan, segment.End())) return false;
        for (ScanComponent& component : scan.components)
            component.pComponent->complete |= scan.dc && scan.shift == 0;
        segments.SkipEntropyCodedData(segment.End());
    }
    return std::ranges::all_of(m_components, [this](const auto& c) { return QuantiserStep(c) != 0; });
}

bool JpegDcReader::IsComplete() const {
    return std::ranges::all_of(m_components, &JpegDcComponent::complete);
}

bool JpegDcReader::ReadSegment(const JpegSegment& segment) {
    static constexpr std::uint8_t kWanted[] = {kJpegDht, kDqt, kDri, kApp0, kApp14};
    if (std::ranges::find(kWanted, segment.marker) == std::end(kWanted)) return true;
    std::vector<std::uint8_t> bytes(segment.size);
    if (!m_source.ReadAllAt(segment.offset, bytes.data(), bytes.size())) return false;
    switch (segment.marker) {
        case kJpegDht:
            return ReadHuffmanTables(bytes);
        case kDqt:
            return ReadQuantisers(bytes);
        case kDri:
            if (bytes.size() != 2) return false;
            m_restartInterval = static_cast<std::uint32_t>(bytes[0] << 8 | bytes[1]);
            return true;
        case kApp0:
            m_jfif = m_jfif || (bytes.size() >= 14 && BeginsWith(bytes, {"JFIF\0", 5}));
            return true;
        default:
            if (bytes.size() >= 12 && BeginsWith(bytes, "Adobe")) m_adobeTransform = bytes[11];
            return true;
    }
}

bool JpegDcReader::ReadFrame(const std::vector<std::uint8_t>& bytes, const JpegFrame& frame) {
    if (bytes.size() != 6 + 3 * frame.components || bytes[0] != 8) return false;
    if (frame.components != 1 && frame.components != 3) return false;
    m_components.resize(frame.components);
    for (std::size_t i = 0; i < m_components.size(); ++i) {
        JpegDcComponent& component = m_components[i];
        const std::uint8_t* p = &bytes[6 + 3 * i];
        component.id = p[0];
        component.h = p[1] >> 4;
        component.v = p[1] & 15;
        component.quantiser = p[2];
        if (component.h < 1 || component.h > 4 || component.v < 1 || component.v > 4 || p[2] > 3)
            return false;
        m_maxH = std::max(m_maxH, component.h);
        m_maxV = std::max(m_maxV, component.v);
    }
    m_unitsWide = DivideUp(frame.width, 8 * m_maxH);
    m_unitsHigh = DivideUp(frame.height, 8 * m_maxV);
    for (JpegDcComponent& component : m_components) {
        if (m_maxH % component.h != 0 || m_maxV % component.v != 0) return false;
        component.blocksWide = DivideUp(frame.width * component.h, 8 * m_maxH);
        component.blocksHigh = DivideUp(frame.height * component.v, 8 * m_maxV);
        component.stride = m_unitsWide * component.h;
        component.coefficients.resize(std::size_t{component.stride} * m_unitsHigh * component.v);
    }
    return true;
}

bool JpegDcReader::ReadQuantisers(const std::vector<std::uint8_t>& bytes) {
    for (std::size_t at = 0; at < bytes.size();) {
        const std::size_t index = bytes[at] & 15;
        const bool wide = bytes[at] >> 4 != 0;
        const std::size_t end = at + 1 + (wide ? 128 : 64);
        if (index > 3 || end > bytes.size()) return false;
        // Tables may change between scans, which is allowed, and nobody does it.
        const int step = wide ? bytes[at + 1] << 8 | bytes[at + 2] : bytes[at + 1];
        if (m_quantiserSteps[index] != 0 && m_quantiserSteps[index] != step) return false;
        m_quantiserSteps[index] = step;
        at = end;
    }
    return true;
}

bool JpegDcReader::ReadHuffmanTables(const std::vector<std::uint8_t>& bytes) {
    for (std::size_t at = 0; at < bytes.size();) {
        if (at + 17 > bytes.size()) return false;
        const std::size_t index = bytes[at] & 15;
        const bool forAc = bytes[at] >> 4 != 0;
        const std::span<const std::uint8_t, 16> counts(&bytes[at + 1], 16);
        std::size_t size = 0;
        for (const std::uint8_t count : counts)
            size += count;
        at += 17;
        if (index > 3 || at + size > bytes.size()) return false;
        if (!forAc) {
            const std::span<const std::uint8_t> symbols(bytes.data() + at, size);
            // A DC symbol is a number of bits.
            if (std::ranges::any_of(symbols, [](std::uint8_t symbol) { return symbol > 15; })) return false;
            if (!m_tables[index].Build(counts, symbols)) return false;
            m_tableDefined[index] = true;
        }
        at += size;
    }
    return true;
}

bool JpegDcReader::ReadScanHeader(const std::vector<std::uint8_t>& bytes, Scan& scan) {
    const std::size_t count = bytes.empty() ? 0 : bytes[0];
    if (m_components.empty() || count < 1 || count > m_components.size() || bytes.size() != 4 + 2 * count)
        return false;
    const std::uint8_t first = bytes[1 + 2 * count];
    const std::uint8_t last = bytes[2 + 2 * count];
    const std::uint8_t approximation = bytes[3 + 2 * count];
    scan.dc = first == 0;
    if (!scan.dc) return true;
    scan.refines = approximation >> 4 != 0;
    scan.shift = approximation & 15;
    if (last != 0 || scan.shift > 13) return false;
    if (scan.refines && approximation >> 4 != scan.shift + 1) return false;
    for (std::size_t i = 0; i < count; ++i) {
        const auto component = std::ranges::find(m_components, bytes[1 + 2 * i], &JpegDcComponent::id);
        const std::size_t table = bytes[2 + 2 * i] >> 4;
        if (component == m_components.end() || table > 3) return false;
        if (!scan.refines && !m_tableDefined[table]) return false;
        scan.components.push_back({&*component, &m_tables[table], 0});
    }
    return true;
}

bool JpegDcReader::DecodeScan(Scan& scan, std::uint64_t nOffset) {
    JpegBitReader bits(m_source, nOffset);
    const JpegDcComponent& single = *scan.components[0].pComponent;
    const bool interleaved = scan.components.size() > 1;
    const std::uint32_t wide = interleaved ? m_unitsWide : single.blocksWide;
    const std::uint32_t high = interleaved ? m_unitsHigh : single.blocksHigh;
    std::uint32_t untilRestart = m_restartInterval;
    for (std::uint32_t y = 0; y < high; ++y) {
        for (std::uint32_t x = 0; x < wide; ++x) {
            if (m_restartInterval != 0 && untilRestart-- == 0) {
                if (!bits.SkipRestartMarker()) return false;
                for (ScanComponent& component : scan.components)
                    component.prediction = 0;
                untilRestart = m_restartInterval - 1;
            }
            if (!DecodeUnit(scan, bits, x, y)) return false;
        }
        if (bits.HasOverrun()) return false;
    }
    return true;
}

// A unit is one block of a component on its own, or all blocks of a patch of the picture.
bool JpegDcReader::DecodeUnit(Scan& scan, JpegBitReader& bits, std::uint32_t unitX, std::uint32_t unitY) {
    const bool interleaved = scan.components.size() > 1;
    for (ScanComponent& scanned : scan.components) {
        JpegDcComponent& component = *scanned.pComponent;
        const std::uint32_t h = interleaved ? component.h : 1;
        const std::uint32_t v = interleaved ? component.v : 1;
        for (std::uint32_t y = 0; y < v; ++y) {
            std::int16_t* pDc =
                &component.coefficients[std::size_t{unitY * v + y} * component.stride + unitX * h];
            for (std::uint32_t x = 0; x < h; ++x) {
                if (!DecodeBlock(scan, scanned, bits, pDc[x])) return false;
            }
        }
    }
    return true;
}

bool JpegDcReader::DecodeBlock(const Scan& scan, ScanComponent& component, JpegBitReader& bits,
                               std::int16_t& dc) {
    if (scan.refines) {
        dc = static_cast<std::int16_t>(dc | static_cast<int>(bits.Take(1) << scan.shift));
        return true;
    }
    const int size = component.pTable->Decode(bits);
    if (size < 0) return false;
    if (size > 0) component.prediction += Extend(bits.Take(size), size);
    // No coefficient of 8-bit samples is larger than this.
    if (component.prediction < -2048 || component.prediction > 2047) return false;
    dc = static_cast<std::int16_t>(component.prediction * (1 << scan.shift));
    return true;
}

bool JpegDcReader::IsYCbCr() const {
    if (m_jfif) return true;
    if (m_adobeTransform >= 0) return m_adobeTransform != 0;
    const bool namedRgb = m_components[0].id == 'R' && m_components[1].id == 'G' && m_components[2].id == 'B';
    return !namedRgb;
}

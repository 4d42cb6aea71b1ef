#include "JpegProgressiveDcScan.h"

#include "JpegSample.h"

bool JpegProgressiveDcScan::MakeParts() {
    const bool alone = m_header.parts.size() == 1;
    for (const JpegScan::Part& part : m_header.parts) {
        const JpegComponent& component = m_scans.Layout().components[part.component];
        if (!m_scans.Tables().FindQuantiser(component.quantiser)) return false;  // libjpeg wants it by now
        m_parts.push_back({m_planes[part.component], {}, alone ? 1 : component.h, alone ? 1 : component.v});
        if (m_header.Refines()) continue;
        const JpegHuffmanCode* pCode = m_scans.Tables().FindDcCode(part.dcCode);
        if (!pCode) return false;
        m_parts.back().table.emplace(*pCode);
    }
    return true;
}

bool JpegProgressiveDcScan::Decode(JpegUnits& units) {
    if (m_header.lastCoefficient != 0) return false;
    if (!MakeParts()) return false;
    const auto [wide, high] = m_scans.UnitsOf(m_header);
    for (std::uint32_t y = 0; y < high; ++y) {
        JpegBits bits = units.bits;
        for (std::uint32_t x = 0; x < wide; ++x) {
            if (!units.Next(bits)) return false;
            if (!DecodeUnit(bits, units.predictions.data(), x, y)) return false;
        }
        units.bits = bits;
        if (units.HasOverrun()) return false;
    }
    return true;
}

// A unit is one block of a component on its own, or all blocks of a patch of the picture.
[[gnu::always_inline]] inline bool JpegProgressiveDcScan::DecodeUnit(JpegBits& bits, int* pPredictions,
                                                                     std::uint32_t unitX,
                                                                     std::uint32_t unitY) {
    for (const Part& part : m_parts) {
        for (std::uint32_t y = 0; y < part.v; ++y) {
            for (std::uint32_t x = 0; x < part.h; ++x) {
                std::int16_t& dc =
                    *part.plane.BlockAt(std::size_t{unitY} * part.v + y, std::size_t{unitX} * part.h + x);
                if (!DecodeBlock(part, bits, *pPredictions, dc)) return false;
            }
        }
        ++pPredictions;
    }
    return true;
}

[[gnu::always_inline]] inline bool JpegProgressiveDcScan::DecodeBlock(const Part& part, JpegBits& bits,
                                                                      int& prediction,
                                                                      std::int16_t& dc) const {
    bits.Refill();
    if (!part.table) {
        dc = static_cast<std::int16_t>(dc | static_cast<int>(bits.Peek(1) << m_header.shift));
        bits.Skip(1);
        return true;
    }
    const JpegNumberTable::Entry difference = part.table->Find(bits);
    if (difference.length == 0) return false;
    bits.Skip(difference.length);
    prediction += difference.value;
    if (!IsJpegCoefficient(prediction) || !IsJpegCoefficient(prediction * (1 << m_header.shift)))
        return false;
    dc = static_cast<std::int16_t>(prediction * (1 << m_header.shift));
    return true;
}

#include "JpegBaselineScan.h"

bool JpegBaselineScan::Prepare(const JpegScans& scans, const JpegScan& header,
                               std::array<JpegPlane, 3>& planes) {
    constexpr int kLast = 63;
    if (header.firstCoefficient != 0 || header.lastCoefficient != kLast) return false;
    if (header.shiftBefore != 0 || header.shift != 0) return false;
    const bool alone = header.parts.size() == 1;
    for (const JpegScan::Part& part : header.parts) {
        const JpegComponent& component = scans.Layout().components[part.component];
        const JpegHuffmanCode* pDc = scans.Tables().FindDcCode(part.dcCode);
        const JpegHuffmanCode* pAc = scans.Tables().FindAcCode(part.acCode);
        const JpegTables::Quantiser* pQuantiser = scans.Tables().FindQuantiser(component.quantiser);
        JpegPlane& plane = planes[part.component];
        if (!pDc || !pAc || !pQuantiser || plane.complete) return false;
        Part& made = m_parts.emplace_back();
        made.pPlane = &plane;
        made.h = alone ? 1 : component.h;
        made.v = alone ? 1 : component.v;
        made.step = (*pQuantiser)[0];
        made.pDc = m_dcTables.Get(part.dcCode, *pDc);
        if (plane.perBlock == 1) {
            made.pSkipper = m_skippers.Get(part.acCode, *pAc);
        } else {
            made.pAc = m_acTables.Get(part.acCode, *pAc);
            made.quarters.emplace(*pQuantiser);
        }
    }
    return true;
}

inline bool JpegBaselineScan::DecodeQuarters(const Part& part, JpegBits& bits, int dc,
                                             std::uint8_t* pSamples) {
    JpegQuarters::Sums sums;
    part.quarters->Add(sums, 0, dc);
    for (unsigned index = 1; index < 64;) {
        if (bits.nCount < JpegNumberTable::kMostBits) bits.Refill();
        const JpegNumberTable::Entry entry = part.pAc->Find(bits);
        bits.Skip(entry.length);
        if (entry.advance == 0) {
            if (entry.length == 0) return false;
            break;
        }
        index += entry.advance;
        if (index > 64) return false;
        part.quarters->Add(sums, index - 1, entry.value);
    }
    return JpegQuarters::Finish(sums, pSamples, pSamples + part.pPlane->stride);
}

inline bool JpegBaselineScan::DecodeBlock(const Part& part, JpegBits& bits, int& prediction,
                                          std::uint8_t* pSamples) {
    bits.Refill();
    const JpegNumberTable::Entry difference = part.pDc->Find(bits);
    if (difference.length == 0) return false;
    bits.Skip(difference.length);
    prediction += difference.value;
    // Nor is a product beyond all bounds formed.
    if (!IsJpegCoefficient(prediction) || !IsJpegCoefficient(prediction * part.step)) return false;
    if (!part.pSkipper) return DecodeQuarters(part, bits, prediction, pSamples);
    *pSamples = JpegSample((prediction * part.step + 4) >> 3);
    return part.pSkipper->Skip(bits);
}

// Those of one unit.
inline bool JpegBaselineScan::DecodeBlocks(const Part& part, JpegBits& bits, int& prediction,
                                           std::uint8_t* pSamples) {
    const std::size_t nDown = part.pPlane->stride * part.pPlane->perBlock;
    for (std::uint32_t y = 0; y < part.v; ++y, pSamples += nDown) {
        for (std::uint32_t x = 0; x < part.h; ++x) {
            if (!DecodeBlock(part, bits, prediction, pSamples + x * part.pPlane->perBlock)) return false;
        }
    }
    return true;
}

bool JpegBaselineScan::DecodeUnits(JpegUnits& units, std::uint32_t nUnits, std::uint32_t nRow) const {
    for (std::uint32_t unit = 0; unit < nUnits; ++unit) {
        if (!units.Next()) return false;
        JpegBits bits = units.reader.bits;  // a copy, to be kept in registers
        int* pPrediction = units.predictions.data();
        for (const Part& part : m_parts) {
            JpegPlane& plane = *part.pPlane;
            const std::size_t row = std::size_t{nRow} * part.v * plane.perBlock;
            std::uint8_t* pSamples =
                plane.samples.data() + row * plane.stride + std::size_t{unit} * part.h * plane.perBlock;
            if (!DecodeBlocks(part, bits, *pPrediction++, pSamples)) return false;
        }
        units.reader.bits = bits;
    }
    return !units.reader.HasOverrun();
}

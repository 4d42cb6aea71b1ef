#include "JpegBaselineScan.h"

#include "JpegSample.h"

bool JpegBaselineScan::Prepare(const JpegScans& scans, const JpegScan& header, JpegPlanes& planes) {
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
        if (!pDc || !pAc || !pQuantiser) return false;
        Part& made = m_parts.emplace_back();
        made.pPlane = &plane;
        made.h = alone ? 1 : component.h;
        made.v = alone ? 1 : component.v;
        made.step = (*pQuantiser)[0];
        made.pDc = m_dcTables.Get(part.dcCode, *pDc);
        if (plane.quarters || plane.waves.End() > 1) made.pAc = m_acTables.Get(part.acCode, *pAc);
        if (!plane.quarters) made.pSkipper = m_skippers.Get(part.acCode, *pAc);
        if (plane.quarters) made.quarters.emplace(*pQuantiser);
    }
    return true;
}

// The following are inlined so that the bits stay in registers.

[[gnu::always_inline]] inline bool JpegBaselineScan::DecodeQuarters(const Part& part, JpegBits& bits, int dc,
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
    return JpegQuarters::Finish(sums, pSamples, pSamples + part.pPlane->Stride());
}

[[gnu::always_inline]] inline bool JpegBaselineScan::DecodeLowWaves(const Part& part, JpegBits& bits,
                                                                    std::int16_t* pBlock) {
    const JpegLowWaves& waves = part.pPlane->waves;
    unsigned index = 1;
    while (index < waves.End()) {
        if (bits.nCount < JpegNumberTable::kMostBits) bits.Refill();
        const JpegNumberTable::Entry entry = part.pAc->Find(bits);
        bits.Skip(entry.length);
        if (entry.advance == 0) return entry.length != 0;
        index += entry.advance;
        if (index > 64) return false;
        waves.Put(pBlock, index - 1, entry.value);
    }
    return index == 64 || part.pSkipper->Skip(bits, index);
}

[[gnu::always_inline]] inline bool JpegBaselineScan::DecodeBlock(const Part& part, JpegBits& bits,
                                                                 int& prediction, std::size_t row,
                                                                 std::size_t column) {
    bits.Refill();
    const JpegNumberTable::Entry difference = part.pDc->Find(bits);
    if (difference.length == 0) return false;
    bits.Skip(difference.length);
    prediction += difference.value;
    // Nor is a product beyond all bounds formed.
    if (!IsJpegCoefficient(prediction) || !IsJpegCoefficient(prediction * part.step)) return false;
    if (part.pPlane->quarters)
        return DecodeQuarters(part, bits, prediction, part.pPlane->QuartersAt(row, column));
    std::int16_t* const pBlock = part.pPlane->BlockAt(row, column);
    pBlock[0] = static_cast<std::int16_t>(prediction);
    return DecodeLowWaves(part, bits, pBlock);
}

// Those of one unit.
[[gnu::always_inline]] inline bool JpegBaselineScan::DecodeBlocks(const Part& part, JpegBits& bits,
                                                                  int& prediction, std::uint32_t unit,
                                                                  std::uint32_t nRow) {
    for (std::uint32_t y = 0; y < part.v; ++y) {
        for (std::uint32_t x = 0; x < part.h; ++x) {
            if (!DecodeBlock(part, bits, prediction, std::size_t{nRow} * part.v + y,
                             std::size_t{unit} * part.h + x))
                return false;
        }
    }
    return true;
}

bool JpegBaselineScan::DecodeUnits(JpegUnits& units, std::uint32_t nUnits, std::uint32_t nRow) const {
    JpegBits bits = units.bits;
    for (std::uint32_t unit = 0; unit < nUnits; ++unit) {
        if (!units.Next(bits)) return false;
        int* pPrediction = units.predictions.data();
        for (const Part& part : m_parts) {
            if (!DecodeBlocks(part, bits, *pPrediction++, unit, nRow)) return false;
        }
    }
    units.bits = bits;
    return !units.HasOverrun();
}

#include "JpegProgressiveAcScan.h"

#include <bit>

#include "JpegSample.h"

namespace {

constexpr std::uint64_t Bit(unsigned place) {
    return std::uint64_t{1} << place;
}

// Bits that are 1. Processors have an instruction for it, but not every one that this may run on.
unsigned Count(std::uint64_t bits) {
    bits -= bits >> 1 & 0x5555'5555'5555'5555;
    bits = (bits & 0x3333'3333'3333'3333) + (bits >> 2 & 0x3333'3333'3333'3333);
    bits = (bits + (bits >> 4)) & 0x0F0F'0F0F'0F0F'0F0F;
    return static_cast<unsigned>(bits * 0x0101'0101'0101'0101 >> 56);
}

// The run of blocks that end, the present one among them.
std::uint32_t TakeEnds(JpegBits& bits, int logarithm) {
    const auto n = static_cast<unsigned>(logarithm);
    const std::uint32_t more = n == 0 ? 0 : bits.Peek(n);
    bits.Skip(n);
    return (1u << n) + more;
}

}  // namespace

bool JpegProgressiveAcScan::Decode(JpegUnits& units) {
    if (m_header.parts.size() != 1) return false;
    const JpegHuffmanCode* pCode = m_scans.Tables().FindAcCode(m_header.parts[0].acCode);
    const JpegComponent& component = m_scans.Layout().components[m_header.parts[0].component];
    if (!pCode || !m_scans.Tables().FindQuantiser(component.quantiser)) return false;
    m_table.emplace(*pCode);
    JpegPlane& plane = m_planes[m_header.parts[0].component];
    m_pWaves = &plane.waves;
    const auto [wide, high] = m_scans.UnitsOf(m_header);
    for (std::uint32_t y = 0; y < high; ++y) {
        JpegBits bits = units.bits;
        for (std::uint32_t x = 0; x < wide; ++x) {
            if (!units.Next(bits)) return false;
            const Block block{plane.BlockAt(y, x), plane.nonzero[plane.BlockIndex(y, x)]};
            const bool good = m_header.Refines() ? RefineBlock(bits, block, units.nEnds)
                                                 : DecodeBlock(bits, block, units.nEnds);
            if (!good) return false;
        }
        units.bits = bits;
        if (units.HasOverrun()) return false;
    }
    return true;
}

// The places of the scan from this one on.
std::uint64_t JpegProgressiveAcScan::From(unsigned place) const {
    return place > static_cast<unsigned>(m_header.lastCoefficient)
               ? 0
               : ~std::uint64_t{0} << place & ~std::uint64_t{0} >> (63 - m_header.lastCoefficient);
}

bool JpegProgressiveAcScan::Put(const Block& block, unsigned place, int value) const {
    const int coefficient = value * (1 << m_header.shift);
    if (!IsJpegCoefficient(coefficient)) return false;
    m_pWaves->Put(block.pCoefficients, place, coefficient);
    block.nonzero |= Bit(place);
    return true;
}

[[gnu::always_inline]] inline bool JpegProgressiveAcScan::DecodeBlock(JpegBits& bits, const Block& block,
                                                                      std::uint32_t& nEnds) const {
    if (nEnds > 0) {
        --nEnds;
        return true;
    }
    const auto end = static_cast<unsigned>(m_header.lastCoefficient) + 1;
    for (auto place = static_cast<unsigned>(m_header.firstCoefficient); place < end;) {
        if (bits.nCount < JpegNumberTable::kMostBits) bits.Refill();
        const JpegNumberTable::Entry entry = m_table->Find(bits);
        bits.Skip(entry.length);
        if (entry.advance == 0) {
            if (entry.length == 0) return false;
            nEnds = TakeEnds(bits, entry.value) - 1;
            return true;
        }
        place += entry.advance;
        if (place > end || (entry.value != 0 && !Put(block, place - 1, entry.value))) return false;
    }
    return true;
}

// Symbols are about coefficients that have been 0 until now; between them come the next bits of the others.
[[gnu::always_inline]] inline bool JpegProgressiveAcScan::RefineBlock(JpegBits& bits, const Block& block,
                                                                      std::uint32_t& nEnds) const {
    const std::uint64_t known = block.nonzero;
    std::uint64_t rest = From(static_cast<unsigned>(m_header.firstCoefficient));
    while (nEnds == 0 && rest != 0) {
        if (bits.nCount < JpegNumberTable::kMostBits) bits.Refill();
        const JpegNumberTable::Entry entry = m_table->Find(bits);
        bits.Skip(entry.length);
        if (entry.advance == 0) {
            if (entry.length == 0) return false;
            nEnds = TakeEnds(bits, entry.value);
            break;
        }
        std::uint64_t zeros = rest & ~known;
        for (unsigned i = 1; i < entry.advance; ++i)
            zeros &= zeros - 1;
        if (zeros == 0 || entry.value < -1 || entry.value > 1) return false;
        const auto place = static_cast<unsigned>(std::countr_zero(zeros));
        Correct(bits, block, rest & known & (Bit(place) - 1));
        if (entry.value != 0 && !Put(block, place, entry.value)) return false;
        rest &= From(place + 1);
    }
    if (nEnds > 0) {
        Correct(bits, block, rest & known);
        --nEnds;
    }
    return true;
}

// Takes one bit for each of these places.
[[gnu::always_inline]] inline void JpegProgressiveAcScan::Correct(JpegBits& bits, const Block& block,
                                                                  std::uint64_t places) const {
    constexpr std::uint64_t kLower = 0xFFFF'FFFF;
    if ((places & kLower) != 0) CorrectFew(bits, block, places & kLower);
    if ((places & ~kLower) != 0) CorrectFew(bits, block, places & ~kLower);
}

[[gnu::always_inline]] inline void JpegProgressiveAcScan::CorrectFew(JpegBits& bits, const Block& block,
                                                                     std::uint64_t places) const {
    const auto count = Count(places);
    bits.Refill();
    const std::uint64_t field = std::uint64_t{bits.Peek(count)} << (64 - count);
    bits.Skip(count);
    for (std::uint64_t counted = places & m_pWaves->Counted(); counted != 0; counted &= counted - 1) {
        const auto place = static_cast<unsigned>(std::countr_zero(counted));
        const unsigned before = Count(places & (Bit(place) - 1));
        if ((field << before >> 63) == 0) continue;
        std::int16_t& coefficient = m_pWaves->At(block.pCoefficients, place);
        const int step = 1 << m_header.shift;
        coefficient = static_cast<std::int16_t>(coefficient + (coefficient < 0 ? -step : step));
    }
}

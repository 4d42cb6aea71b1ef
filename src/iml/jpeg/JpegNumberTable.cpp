#include "JpegNumberTable.h"

#include "JpegAcSymbol.h"

namespace {

// The number that stands in a field of `nSize` bits.
std::int16_t NumberOf(unsigned field, unsigned nSize) {
    JpegBits bits;
    bits.bits = std::uint64_t{field} << (63 - nSize) << 1;
    return static_cast<std::int16_t>(bits.TakeNumber(nSize));
}

}  // namespace

JpegNumberTable::JpegNumberTable(const JpegHuffmanCode& code) : m_table(code) {
    code.ForEach(kIndexBits, [this](std::uint32_t bits, unsigned length, std::uint8_t symbol) {
        const JpegAcSymbol ac(symbol);
        const unsigned nFree = kIndexBits - length;
        Entry entry{static_cast<std::int16_t>(ac.size), static_cast<std::uint8_t>(length + ac.size),
                    static_cast<std::uint8_t>(ac.advance)};
        const auto first = m_entries.begin() + (bits << nFree);
        for (unsigned i = 0; i < 1u << nFree; ++i) {
            if (ac.advance == 0)
                entry.value = static_cast<std::int16_t>(ac.run);
            else if (ac.size <= nFree)
                entry.value = NumberOf(i >> (nFree - ac.size), ac.size);
            first[i] = entry;
        }
    });
}

JpegNumberTable::Entry JpegNumberTable::FindLong(JpegBits bits) const {
    const JpegHuffmanTable::Entry found = m_table.Find(bits.Peek(16));
    if (found.length == 0) return {};
    const JpegAcSymbol ac(found.symbol);
    if (ac.advance == 0) return {static_cast<std::int16_t>(ac.run), found.length, 0};
    const Entry entry{static_cast<std::int16_t>(ac.size), static_cast<std::uint8_t>(found.length + ac.size),
                      static_cast<std::uint8_t>(ac.advance)};
    return WithNumber(entry, bits);
}

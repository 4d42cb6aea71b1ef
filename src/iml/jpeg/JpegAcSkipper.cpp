#include "JpegAcSkipper.h"

#include <algorithm>

#include "JpegAcSymbol.h"

JpegAcSkipper::JpegAcSkipper(const JpegHuffmanCode& code) : m_table(code) {
    struct Symbol {
        std::uint8_t length = 0;  // of the code
        std::uint8_t symbol = 0;
    };
    std::array<Symbol, 1 << kIndexBits> firsts{};
    code.ForEach(kIndexBits, [&](std::uint32_t bits, unsigned length, std::uint8_t symbol) {
        std::fill_n(firsts.begin() + (bits << (kIndexBits - length)), 1u << (kIndexBits - length),
                    Symbol{static_cast<std::uint8_t>(length), symbol});
    });
    for (unsigned i = 0; i < firsts.size(); ++i) {
        unsigned length = 0;
        unsigned advance = 0;
        while (length < kIndexBits && advance < kEndOfBlock) {
            const Symbol first = firsts[(i << length) % firsts.size()];
            const JpegAcSymbol symbol(first.symbol);
            const unsigned taken = length + first.length + symbol.size;
            if (first.length == 0 || length + first.length > kIndexBits || taken > kMostBits) break;
            if (symbol.advance != 0 && advance + symbol.advance > 63) break;
            length = taken;
            advance += symbol.advance != 0 ? symbol.advance : kEndOfBlock;
        }
        if (length == 0) advance = kNone;
        m_entries[i] = static_cast<std::uint16_t>(advance << kAdvanceShift | length);
    }
}

// The entry of the first symbol of 16 bits alone; none if there is no such symbol.
unsigned JpegAcSkipper::FindOne(std::uint32_t bits) const {
    const JpegHuffmanTable::Entry found = m_table.Find(bits);
    if (found.length == 0) return kNone << kAdvanceShift;
    const JpegAcSymbol symbol(found.symbol);
    const unsigned advance = symbol.advance != 0 ? symbol.advance : kEndOfBlock;
    return advance << kAdvanceShift | (found.length + symbol.size);
}

#include "JpegHuffman.h"

#include <algorithm>

bool JpegHuffmanCode::IsGood() const {
    std::uint32_t code = 0;
    std::size_t nCodes = 0;
    for (std::size_t i = 0; i < counts.size(); ++i) {
        code = code * 2 + counts[i];
        nCodes += counts[i];
        if (code >= 2u << i) return false;
    }
    return nCodes == symbols.size() && nCodes <= 256;
}

JpegHuffmanTable::JpegHuffmanTable(const JpegHuffmanCode& code) {
    std::ranges::copy(code.symbols, m_symbols.begin());
    code.ForEach(kShortBits, [this](std::uint32_t bits, unsigned length, std::uint8_t symbol) {
        std::fill_n(m_short.begin() + (bits << (kShortBits - length)), 1 << (kShortBits - length),
                    Entry{static_cast<std::uint8_t>(length), symbol});
    });
    for (std::size_t length = 1; length <= 16; ++length) {
        m_codesEnd[length] = 2 * m_codesEnd[length - 1] + code.counts[length - 1];
        m_symbolsEnd[length] = m_symbolsEnd[length - 1] + code.counts[length - 1];
    }
}

JpegHuffmanTable::Entry JpegHuffmanTable::FindLong(std::uint32_t bits) const {
    for (std::size_t length = kShortBits + 1; length <= 16; ++length) {
        const std::uint32_t code = bits >> (16 - length);
        if (code >= m_codesEnd[length]) continue;
        return {static_cast<std::uint8_t>(length),
                m_symbols[m_symbolsEnd[length] - (m_codesEnd[length] - code)]};
    }
    return {};
}

#include "JpegHuffman.h"

#include <algorithm>

bool JpegHuffmanTable::Build(std::span<const std::uint8_t, 16> counts,
                             std::span<const std::uint8_t> symbols) {
    *this = {};
    if (symbols.size() > m_symbols.size()) return false;
    std::ranges::copy(symbols, m_symbols.begin());
    std::int32_t code = 0;
    std::int32_t index = 0;
    for (int length = 1; length <= 16; ++length, code <<= 1) {
        const std::int32_t count = counts[static_cast<std::size_t>(length) - 1];
        if (index + count > static_cast<std::int32_t>(symbols.size()) || code + count > (1 << length))
            return false;
        m_symbolOffset[static_cast<std::size_t>(length)] = index - code;
        for (std::int32_t i = 0; i < count; ++i, ++code, ++index) {
            if (length > kShortBits) continue;
            const Entry entry{static_cast<std::uint8_t>(length), m_symbols[static_cast<std::size_t>(index)]};
            const auto first = m_short.begin() + (code << (kShortBits - length));
            std::fill_n(first, 1 << (kShortBits - length), entry);
        }
        m_codesEnd[static_cast<std::size_t>(length)] = count > 0 ? code : 0;
    }
    return true;
}

int JpegHuffmanTable::DecodeLong(JpegBitReader& bits) const {
    for (int length = kShortBits + 1; length <= 16; ++length) {
        const auto code = static_cast<std::int32_t>(bits.Peek(length));
        if (code >= m_codesEnd[static_cast<std::size_t>(length)]) continue;
        bits.Skip(length);
        return m_symbols[static_cast<std::size_t>(code + m_symbolOffset[static_cast<std::size_t>(length)])];
    }
    return -1;
}

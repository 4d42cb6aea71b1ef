#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "JpegBitReader.h"

/// A Huffman code as a DHT segment defines it.
struct JpegHuffmanCode {
    std::array<std::uint8_t, 16> counts{};  // codes of each length from 1 to 16
    std::vector<std::uint8_t> symbols;      // theirs, in order

    /// The counts make up a prefix code, without one of ones alone, and there is a symbol for each.
    bool IsGood() const;

    /// Calls `use(code, length, symbol)` for each code up to `maxLength`, in order.
    template <typename Use>
    void ForEach(unsigned maxLength, Use use) const {
        std::uint32_t code = 0;
        std::size_t index = 0;
        for (unsigned length = 1; length <= maxLength; ++length, code <<= 1) {
            for (int i = counts[length - 1]; i > 0; --i, ++code, ++index)
                use(code, length, symbols[index]);
        }
    }
};

/// Decodes one symbol at a time.
class JpegHuffmanTable {
  public:
    /// `code` must be good.
    explicit JpegHuffmanTable(const JpegHuffmanCode& code);

    struct Entry {
        std::uint8_t length = 0;  // bits of the code; 0: none of the table
        std::uint8_t symbol = 0;
    };

    /// The code that the next 16 bits begin with.
    Entry Find(std::uint32_t bits) const {
        const Entry entry = m_short[bits >> (16 - kShortBits)];
        return entry.length != 0 ? entry : FindLong(bits);
    }

  private:
    static constexpr unsigned kShortBits = 9;

    Entry FindLong(std::uint32_t bits) const;

    std::array<Entry, 1 << kShortBits> m_short{};  // by the next kShortBits bits; longer codes are not there
    std::array<std::uint32_t, 17> m_codesEnd{};    // by length: one past its last code
    std::array<std::uint32_t, 17> m_symbolsEnd{};  // by length: one past the symbol of that
    std::array<std::uint8_t, 256> m_symbols{};
};

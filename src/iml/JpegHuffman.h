#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "JpegBitReader.h"

/// A Huffman table of a JPEG (ITU-T T.81, annex C), for decoding.
class JpegHuffmanTable {
  public:
    /// `counts` holds the number of codes of each length from 1 to 16, `symbols` their symbols in order.
    /// False if these are no prefix code.
    bool Build(std::span<const std::uint8_t, 16> counts, std::span<const std::uint8_t> symbols);

    /// The next symbol; -1 if no code of the table comes next.
    int Decode(JpegBitReader& bits) const {
        const Entry entry = m_short[bits.Peek(kShortBits)];
        if (entry.length == 0) return DecodeLong(bits);
        bits.Skip(entry.length);
        return entry.symbol;
    }

  private:
    static constexpr int kShortBits = 9;

    struct Entry {
        std::uint8_t length = 0;  // bits; 0: the code is longer than kShortBits, or there is none
        std::uint8_t symbol = 0;
    };

    int DecodeLong(JpegBitReader& bits) const;

    std::array<Entry, 1 << kShortBits> m_short{};   // by the next kShortBits bits
    std::array<std::int32_t, 17> m_codesEnd{};      // by length: one past its last code; 0 if it has none
    std::array<std::int32_t, 17> m_symbolOffset{};  // by length: index of a code's symbol, less the code
    std::array<std::uint8_t, 256> m_symbols{};
};

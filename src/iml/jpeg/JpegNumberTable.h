#pragma once

#include <array>
#include <cstdint>

#include "JpegBitReader.h"
#include "JpegHuffman.h"

/// Decodes the symbols of coefficients together with the numbers that follow them. A symbol's lower half is
/// how many bits the number has, its upper half how many zeros come before it, which DC has none of. Where
/// there is no number, 15 zeros are 16, and any others the end of the block: in a progressive file a run of
/// ends, whose logarithm they are.
class JpegNumberTable {
  public:
    /// `code` must be good.
    explicit JpegNumberTable(const JpegHuffmanCode& code);

    struct Entry {
        std::int16_t value = 0;    // where the block ends: the logarithm of the run
        std::uint8_t length = 0;   // bits of code and number; 0: none of the code
        std::uint8_t advance = 0;  // of an AC coefficient's index, with the zeros; 0: the block ends
    };

    /// Bits of an entry at most.
    static constexpr unsigned kMostBits = 16 + 15;

    /// What comes next, without taking it. kMostBits must be there.
    Entry Find(const JpegBits& bits) const {
        const Entry entry = m_entries[bits.Peek(kIndexBits)];
        if (entry.length - 1u < kIndexBits) return entry;
        return entry.length != 0 ? WithNumber(entry, bits) : FindLong(bits);
    }

  private:
    static constexpr unsigned kIndexBits = 11;

    // Reads the number of an entry that has only its size.
    static Entry WithNumber(Entry entry, JpegBits bits) {
        const auto nSize = static_cast<unsigned>(entry.value);
        bits.Skip(entry.length - nSize);
        entry.value = static_cast<std::int16_t>(bits.TakeNumber(nSize));
        return entry;
    }

    Entry FindLong(JpegBits bits) const;  // by value, so that the caller's stay in registers

    // By the next bits. Where the number goes on behind them, its size stands for it; codes that do so are
    // not there.
    std::array<Entry, 1 << kIndexBits> m_entries{};
    JpegHuffmanTable m_table;
};

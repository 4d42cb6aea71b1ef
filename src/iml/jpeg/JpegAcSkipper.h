#pragma once

#include <array>
#include <cstdint>

#include "JpegBitReader.h"
#include "JpegHuffman.h"

/// Steps over the AC coefficients of a block of a sequential JPEG, several of them with one look into a
/// table.
class JpegAcSkipper {
  public:
    /// `code` must be good.
    explicit JpegAcSkipper(const JpegHuffmanCode& code);

    /// Goes on with the coefficient `index`, 1 to 63. False if the block ends neither with coefficient 63 nor
    /// by the symbol for that.
    bool Skip(JpegBits& bits, unsigned index) const {
        for (;;) {
            bits.Refill();
            for (unsigned i = 0; i < kLooksPerRefill; ++i) {
                const unsigned entry = m_entries[bits.Peek(kIndexBits)];
                const unsigned next = index + (entry >> kAdvanceShift);
                if (next >= 64) {
                    if (next == 64 || EndsWell(entry, next)) {
                        bits.Skip(entry & kLengthMask);
                        return true;
                    }
                    bits.Refill();
                    const unsigned one = FindOne(bits.Peek(16));
                    bits.Skip(one & kLengthMask);
                    index += one >> kAdvanceShift;
                    if (index >= 64) return index == 64 || EndsWell(one, index);
                    break;
                }
                bits.Skip(entry & kLengthMask);
                index = next;
            }
        }
    }

  private:
    static constexpr unsigned kIndexBits = 12;
    static constexpr unsigned kLooksPerRefill = 3;
    static constexpr unsigned kMostBits = 56 / kLooksPerRefill;

    // An entry is how many bits it takes, and how far that advances.
    static constexpr unsigned kLengthMask = 63;
    static constexpr unsigned kAdvanceShift = 6;
    static constexpr unsigned kEndOfBlock = 64;  // added to the advance
    static constexpr unsigned kNone = 512;       // as the advance: symbol by symbol

    // The symbols of an entry that holds the block's end all belong to this block.
    static bool EndsWell(unsigned entry, unsigned next) {
        return (entry >> kAdvanceShift & kEndOfBlock) != 0 && next < 64 + kEndOfBlock;
    }
    unsigned FindOne(std::uint32_t bits) const;

    std::array<std::uint16_t, 1 << kIndexBits> m_entries;  // by the next bits
    JpegHuffmanTable m_table;
};

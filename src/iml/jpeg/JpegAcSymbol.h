#pragma once

#include <cstdint>

/// What a symbol of a coefficient says; see JpegNumberTable.
struct JpegAcSymbol {
    explicit JpegAcSymbol(std::uint8_t symbol)
        : size(symbol & 15u),
          advance(size != 0 || symbol == 0xF0 ? (symbol >> 4) + 1u : 0),
          run(symbol >> 4) {}

    unsigned size;     // bits of the number that follows
    unsigned advance;  // of the index; 0: the block ends, in a progressive file with others behind it
    unsigned run;      // of the others: the logarithm of how many end at least
};

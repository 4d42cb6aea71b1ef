#pragma once

#include <cstdint>

/// The end mark of a block of thumbnails in a data file: the words 0, 1, 0. See docs/cache-format.md.
struct TNGBlockTrailer {
    std::uint32_t words[3] = {0, 1, 0};
};
static_assert(sizeof(TNGBlockTrailer) == 12);

/// True only for exactly these three words.
inline bool IsValidTrailer(const TNGBlockTrailer& trailer) {
    return trailer.words[0] == 0 && trailer.words[1] == 1 && trailer.words[2] == 0;
}

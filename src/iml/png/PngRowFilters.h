#pragma once

#include <cstddef>
#include <cstdint>

/// Bytes behind a row that are read and written with it.
inline constexpr std::size_t kPngRowSlack = 16;

/// Whether this processor has what UnfilterPngRow() takes.
bool CanUnfilterPngRows();

/// Undoes the filter of a scanline: `pScanline` has its type, and `nRowBytes` behind it. A pixel has 1, 2, 3,
/// 4, 6 or 8 bytes. Of three and four, R, G, B or R, G, B, A, it makes B, G, R or B, G, R, A. `pAbove`: the
/// row above as this function made it; zeros for the first. The rows must not overlap, and each has
/// kPngRowSlack more bytes. False if there is no such filter.
bool UnfilterPngRow(const std::uint8_t* pScanline, const std::uint8_t* pAbove, std::uint8_t* pRow,
                    std::size_t nRowBytes, unsigned nPixelBytes);

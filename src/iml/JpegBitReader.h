#pragma once

#include <cstdint>
#include <vector>

#include "ByteSource.h"

/// Reads the bits of a scan's entropy-coded data, without the stuffed zeros. At a marker, and at the end of
/// the source, the bits go on as zeros; HasOverrun() tells when such bits were used.
class JpegBitReader {
  public:
    JpegBitReader(ByteSource& source, std::uint64_t nOffset);

    /// The next `n` bits, 1 to 16, without taking them.
    std::uint32_t Peek(int n) {
        if (m_nBits < n) Fill();
        return static_cast<std::uint32_t>(m_bits >> (64 - n));
    }

    /// Takes `n` bits that have been peeked at.
    void Skip(int n) {
        m_bits <<= n;
        m_nBits -= n;
    }

    std::uint32_t Take(int n) {
        const std::uint32_t bits = Peek(n);
        Skip(n);
        return bits;
    }

    bool HasOverrun() const { return m_nPadding > m_nBits; }

    /// Drops the bits up to the restart marker that must come next. False if it does not.
    bool SkipRestartMarker();

  private:
    void Fill();
    int NextByte();
    bool ReadPiece();

    ByteSource& m_source;
    std::uint64_t m_nOffset;  // of what comes behind the piece
    std::vector<std::uint8_t> m_piece;
    std::size_t m_nPieceSize = 0;
    std::size_t m_nUsed = 0;

    std::uint64_t m_bits = 0;  // the next bits, from the top
    int m_nBits = 0;
    int m_nPadding = 0;  // how many of all bits so far were made up
    int m_marker = 0;    // the marker that ended the data, or 0
};

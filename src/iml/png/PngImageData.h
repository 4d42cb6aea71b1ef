#pragma once

#include <cstddef>
#include <cstdint>

#include "iml/SequentialReader.h"

/// The compressed image of a PNG: what its IDAT chunks hold, without their borders.
class PngImageData {
  public:
    /// `nOffset`: where the first of the chunks begins.
    PngImageData(ByteSource& source, std::uint64_t nOffset) : m_reader(source, nOffset) {}

    /// Reads up to `nBytes`. Returns the bytes read: fewer where the chunks end, or behind one whose checksum
    /// is wrong.
    std::size_t Read(std::uint8_t* pOut, std::size_t nBytes);

    /// Whether what has been read are whole chunks with right checksums.
    bool IsSound() const { return !m_bDamaged && m_nLeft == 0; }

  private:
    bool BeginChunk();
    void EndChunk();

    SequentialReader m_reader;
    std::uint32_t m_nLeft = 0;  // bytes of the chunk still to read
    std::uint32_t m_nSum = 0;   // checksum of what has been read of it
    bool m_bEnded = false;
    bool m_bDamaged = false;
};

#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "JpegHuffman.h"
#include "JpegSegments.h"
#include "iml/ByteSource.h"

/// What the segments of a JPEG between its headers say, as far as it takes to decode it.
class JpegTables {
  public:
    /// One quantisation table, in zigzag order.
    using Quantiser = std::array<std::uint16_t, 64>;

    /// Reads one segment. False if it is damaged, unknown, or says what libjpeg might take differently.
    bool Read(ByteSource& source, const JpegSegment& segment);

    /// Null where none has come. A quantiser never changes: between scans it would be allowed to, and nobody
    /// does it. Codes do, in progressive files.
    const Quantiser* FindQuantiser(std::size_t nIndex) const;
    const JpegHuffmanCode* FindDcCode(std::size_t nIndex) const { return Find(m_dcCodes, nIndex); }
    const JpegHuffmanCode* FindAcCode(std::size_t nIndex) const { return Find(m_acCodes, nIndex); }

    /// Units from one restart marker to the next; 0: there are none.
    std::uint32_t RestartInterval() const { return m_nRestartInterval; }

    bool HasJfif() const { return m_hasJfif; }
    /// The colour transform of Adobe's segment; -1: there is none.
    int AdobeTransform() const { return m_nAdobeTransform; }

  private:
    using Codes = std::array<JpegHuffmanCode, 4>;
    static const JpegHuffmanCode* Find(const Codes& codes, std::size_t nIndex);

    bool ReadQuantisers(std::span<const std::uint8_t> bytes);
    bool ReadCodes(std::span<const std::uint8_t> bytes);
    bool ReadApplication(std::uint8_t marker, std::span<const std::uint8_t> bytes);

    std::array<Quantiser, 4> m_quantisers{};
    std::array<bool, 4> m_quantiserDefined{};
    Codes m_dcCodes;
    Codes m_acCodes;
    std::uint32_t m_nRestartInterval = 0;
    bool m_hasJfif = false;
    int m_nAdobeTransform = -1;
};

#include "JpegBitReader.h"

#include "JpegSegments.h"

namespace {

constexpr int kNoByte = -1;

}  // namespace

JpegBitReader::JpegBitReader(ByteSource& source, std::uint64_t nOffset)
    : m_source(source), m_nOffset(nOffset), m_piece(std::size_t{1} << 16) {}

bool JpegBitReader::ReadPiece() {
    m_nUsed = 0;
    m_nPieceSize = m_source.ReadAt(m_nOffset, m_piece.data(), m_piece.size());
    m_nOffset += m_nPieceSize;
    return m_nPieceSize > 0;
}

int JpegBitReader::NextByte() {
    if (m_nUsed == m_nPieceSize && !ReadPiece()) return kNoByte;
    return m_piece[m_nUsed++];
}

void JpegBitReader::Fill() {
    while (m_nBits <= 56) {
        int byte = m_marker == 0 ? NextByte() : kNoByte;
        if (byte == 0xFF) {
            int next = NextByte();
            while (next == 0xFF)
                next = NextByte();
            if (next != 0) {
                m_marker = next == kNoByte ? kJpegEoi : next;
                byte = kNoByte;
            }
        }
        if (byte == kNoByte) {
            m_nPadding += 8;
        } else {
            m_bits |= std::uint64_t{static_cast<std::uint8_t>(byte)} << (56 - m_nBits);
        }
        m_nBits += 8;
    }
}

bool JpegBitReader::SkipRestartMarker() {
    if (m_marker == 0) Fill();
    // What is left must be less than a byte, and then the marker.
    if (HasOverrun() || m_nBits - m_nPadding >= 8 || m_marker < kJpegRst0 || m_marker > kJpegRst7)
        return false;
    m_bits = 0;
    m_nBits = 0;
    m_nPadding = 0;
    m_marker = 0;
    return true;
}

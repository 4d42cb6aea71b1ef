#include "JpegBitReader.h"

#include <algorithm>

#include "JpegSegments.h"

namespace {

// Fits into the fastest cache together with the decoder's tables.
constexpr std::size_t kPieceSize = std::size_t{1} << 14;

constexpr std::size_t kRefill = sizeof(std::uint64_t);

constexpr int kSourceEnd = -1;

}  // namespace

JpegBitReader::JpegBitReader(ByteSource& source, std::uint64_t nOffset)
    : m_source(source),
      m_nOffset(nOffset),
      m_nPieceSize(
          static_cast<std::size_t>(std::clamp<std::uint64_t>(source.Size(), 2 * kReach, kPieceSize))),
      m_pPiece(new std::uint8_t[m_nPieceSize]),
      m_pClean(new std::uint8_t[m_nPieceSize + kReach + 2 * kRefill]),
      m_pEnd(m_pClean.get()),
      m_pLast(m_pEnd) {
    JpegBits bits = Begin();
    TopUp(bits);
}

bool JpegBitReader::ReadPiece() {
    m_nUsed = 0;
    m_nPieceEnd = m_source.ReadAt(m_nOffset, m_pPiece.get(), m_nPieceSize);
    m_nOffset += m_nPieceEnd;
    return m_nPieceEnd > 0;
}

bool JpegBitReader::TopUp(JpegBits& bits) {
    if (m_marker != 0) return false;
    const auto nLeft = static_cast<std::size_t>(m_pEnd - bits.pNext);
    std::memmove(m_pClean.get(), bits.pNext, nLeft);
    bits.pNext = m_pClean.get();
    m_pEnd = m_pClean.get() + nLeft;
    Unstuff();
    if (m_marker == 0) {
        m_pLast = m_pEnd - kReach;
    } else {
        std::memset(m_pClean.get() + (m_pEnd - m_pClean.get()), 0, kReach + 2 * kRefill);
        m_pLast = m_pEnd + kRefill;
    }
    return true;
}

// Appends bytes until there is no more room for them, or no more data.
void JpegBitReader::Unstuff() {
    std::uint8_t* pTo = m_pClean.get() + (m_pEnd - m_pClean.get());
    std::uint8_t* const pFull = m_pClean.get() + m_nPieceSize;
    while (m_marker == 0 && pTo < pFull) {
        if (m_nUsed == m_nPieceEnd && !ReadPiece()) {
            m_marker = kSourceEnd;
            break;
        }
        const std::uint8_t* const pFrom = m_pPiece.get() + m_nUsed;
        if (m_afterFF) {
            ++m_nUsed;
            if (*pFrom == 0xFF) continue;  // a fill byte
            m_afterFF = false;
            if (*pFrom == 0) {
                *pTo++ = 0xFF;
            } else {
                m_marker = *pFrom;
            }
            continue;
        }
        auto nPlain = static_cast<std::size_t>(
            std::min<std::ptrdiff_t>(pFull - pTo, static_cast<std::ptrdiff_t>(m_nPieceEnd - m_nUsed)));
        if (const void* pFF = std::memchr(pFrom, 0xFF, nPlain)) {
            nPlain = static_cast<std::size_t>(static_cast<const std::uint8_t*>(pFF) - pFrom);
            m_afterFF = true;
        }
        std::memcpy(pTo, pFrom, nPlain);
        pTo += nPlain;
        m_nUsed += nPlain + (m_afterFF ? 1 : 0);
    }
    m_pEnd = pTo;
}

bool JpegBitReader::SkipRestartMarker(JpegBits& bits, unsigned n) {
    if (!Ensure(bits)) return false;
    // What is left must be less than a byte, and then the marker.
    if (BitsLeft(bits) < 0 || BitsLeft(bits) >= 8 || m_marker != static_cast<int>(kJpegRst0 + n))
        return false;
    m_marker = 0;
    bits = {m_pEnd, 0, 0};
    return TopUp(bits);
}

bool JpegBitReader::IsAtMarker(JpegBits bits) {
    Ensure(bits);
    const bool restart = m_marker >= kJpegRst0 && m_marker <= kJpegRst7;
    return BitsLeft(bits) >= 0 && BitsLeft(bits) < 8 && m_marker > 0 && !restart;
}

bool JpegBitReader::HasReachedEnd(JpegBits bits) {
    Ensure(bits);
    return m_marker == kSourceEnd && BitsLeft(bits) < static_cast<std::int64_t>(16 * kRefill);
}

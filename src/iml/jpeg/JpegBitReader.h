#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>

#include "iml/ByteSource.h"

/// The next bits of entropy-coded data. Small, to be copied into registers and back.
struct JpegBits {
    const std::uint8_t* pNext = nullptr;  // what has not been loaded, without stuffed zeros
    std::uint64_t bits = 0;               // the next ones, from the top
    unsigned nCount = 0;                  // how many of them are there, at most 63

    /// At least 56 bits are there afterwards. Reads 8 bytes, whether or not it needs them.
    void Refill() {
        std::uint64_t bytes = 0;
        std::memcpy(&bytes, pNext, sizeof bytes);
        if constexpr (std::endian::native == std::endian::little) bytes = __builtin_bswap64(bytes);
        bits |= bytes >> nCount;
        pNext += (63 - nCount) >> 3;
        nCount |= 56;
    }

    /// The next `n` bits, 1 to 32, without taking them.
    std::uint32_t Peek(unsigned n) const { return static_cast<std::uint32_t>(bits >> (64 - n)); }

    /// Takes `n` bits, fewer than 64, that are there.
    void Skip(unsigned n) {
        bits <<= n;
        nCount -= n;
    }

    /// Takes a signed number in a field of `n` bits, 0 to 16 (T.81, figure F.12).
    int TakeNumber(unsigned n) {
        const int value = static_cast<int>((bits >> 1) >> (63 - n));
        Skip(n);
        const int limit = (1 << n) >> 1;
        return value < limit ? value - (1 << n) + 1 : value;
    }
};

/// Reads the entropy-coded data of a scan piece by piece and takes the stuffed zeros out. Beyond the end of
/// the data, which is a marker or the end of the source, the bits go on as zeros; HasOverrun() tells when
/// such bits were used.
class JpegBitReader {
  public:
    /// Bytes that may be taken after one call of Ensure(): the largest unit has ten blocks of 64 codes and
    /// numbers of at most 31 bits.
    static constexpr std::size_t kReach = 10 * 64 * 4;

    JpegBitReader(ByteSource& source, std::uint64_t nOffset);

    /// The following take the bits where the caller has got to, and go on with them.

    /// Sees to it that kReach bytes can be taken without a look at where the data ends. False if that end is
    /// left behind already.
    bool Ensure(JpegBits& bits) { return bits.pNext <= m_pLast || TopUpCopy(bits); }

    /// Bits beyond the end have been used.
    bool HasOverrun(const JpegBits& bits) const { return BitsLeft(bits) < 0; }

    /// Goes on behind restart marker number `n`, 0 to 7. False if it is not what comes next.
    bool SkipRestartMarker(JpegBits& bits, unsigned n);

    /// What comes next is a marker other than those of restarts.
    bool IsAtMarker(JpegBits bits);

    /// The source ended within the next few bytes, without a marker.
    bool HasReachedEnd(JpegBits bits);

    /// The first bits.
    JpegBits Begin() const { return {m_pClean.get(), 0, 0}; }

  private:
    // A copy has its address taken, so that the caller's bits can stay in registers.
    bool TopUpCopy(JpegBits& bits) {
        JpegBits copy = bits;
        const bool good = TopUp(copy);
        bits = copy;
        return good;
    }
    bool TopUp(JpegBits& bits);
    void Unstuff();
    bool ReadPiece();
    std::int64_t BitsLeft(const JpegBits& bits) const { return 8 * (m_pEnd - bits.pNext) + bits.nCount; }

    ByteSource& m_source;
    std::uint64_t m_nOffset;  // of what comes behind the piece
    std::size_t m_nPieceSize;
    std::unique_ptr<std::uint8_t[]> m_pPiece;  // as it is in the source
    std::size_t m_nPieceEnd = 0;
    std::size_t m_nUsed = 0;
    bool m_afterFF = false;  // the byte before was the first of a pair
    int m_marker = 0;        // that ended the data; kSourceEnd; 0: the data goes on

    std::unique_ptr<std::uint8_t[]> m_pClean;
    const std::uint8_t* m_pEnd;   // of the bytes that are there
    const std::uint8_t* m_pLast;  // up to where they suffice
};

#include "JpegSegments.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "iml/Limits.h"

namespace {

constexpr std::uint32_t kMaxComponents = 4;

// Some cameras write segments with wrong lengths; this far, in a whole file, it is looked for the next ones.
constexpr std::uint64_t kMaxStrayBytes = std::uint64_t{1} << 18;

constexpr int kMaxSegments = 10'000;

// Stuffed zeros, restart markers and fill bytes stand in the middle of entropy-coded data.
bool BeginsSegment(std::uint8_t afterFF) {
    const bool restart = afterFF >= kJpegRst0 && afterFF <= kJpegRst7;
    return afterFF > 1 && afterFF != 0xFF && !restart;  // 1 is a marker without a segment
}

// The first place from `nOffset` on, and within about `nReach` bytes, where a segment begins; the end of the
// source if there is none.
std::uint64_t FindMarker(ByteSource& source, std::uint64_t nOffset, std::uint64_t nReach) {
    std::vector<std::uint8_t> piece(static_cast<std::size_t>(nReach <= kMaxStrayBytes ? 1u << 12 : 1u << 16));
    for (const std::uint64_t nStart = nOffset; nOffset - nStart <= nReach;) {
        const std::size_t got = source.ReadAt(nOffset, piece.data(), piece.size());
        if (got < 2) break;
        const std::uint8_t* const pLast = piece.data() + got - 1;  // its successor is in the next piece
        const std::uint8_t* p = piece.data();
        while ((p = static_cast<const std::uint8_t*>(
                    std::memchr(p, 0xFF, static_cast<std::size_t>(pLast - p))))) {
            if (BeginsSegment(p[1])) return nOffset + static_cast<std::uint64_t>(p - piece.data());
            ++p;
        }
        nOffset += got - 1;
    }
    return source.Size();
}

std::uint32_t BigEndian16(const std::uint8_t* p) {
    return static_cast<std::uint32_t>(p[0] << 8 | p[1]);
}

}  // namespace

bool JpegSegment::IsFrame() const {
    // C4, C8 and CC stand between the frame headers and are none.
    return marker >= kJpegSof0 && marker <= kJpegSof15 && marker != kJpegDht && marker != 0xC8 &&
           marker != 0xCC;
}

bool JpegSegments::Next(JpegSegment& segment) {
    std::uint8_t bytes[4];
    if (++m_nSegments > kMaxSegments) return false;
    if (!m_source.ReadAllAt(m_nNext, bytes, sizeof bytes)) return false;
    if (bytes[0] != 0xFF || !BeginsSegment(bytes[1])) {
        // Fill bytes, or bytes that belong to nothing: decoders look for the next marker, so does this.
        const std::uint64_t nFrom = m_nNext;
        m_nNext = FindMarker(m_source, nFrom, kMaxStrayBytes);
        m_nStray += m_nNext - nFrom;
        if (m_nStray > kMaxStrayBytes) return false;
        if (!m_source.ReadAllAt(m_nNext, bytes, sizeof bytes)) return false;
    }
    if (bytes[1] == kJpegEoi || bytes[1] == kJpegSoi) return false;
    const std::uint32_t length = BigEndian16(bytes + 2);
    if (length < 2) return false;
    segment = {bytes[1], m_nNext, m_nNext + 4, length - 2};
    m_nNext = segment.End();
    return true;
}

void JpegSegments::SkipEntropyCodedData(std::uint64_t nOffset) {
    m_nNext = FindMarker(m_source, nOffset, m_source.Size());
}

bool ReadJpegFrame(ByteSource& source, JpegFrame& frame) {
    JpegSegments segments(source);
    JpegSegment segment;
    do {
        if (!segments.Next(segment) || segment.marker == kJpegSos) return false;
    } while (!segment.IsFrame());

    std::uint8_t header[6 + 3 * kMaxComponents];
    const std::size_t size = std::min<std::size_t>(segment.size, sizeof header);
    if (size < 6 || !source.ReadAllAt(segment.offset, header, size)) return false;
    frame.marker = segment.marker;
    frame.height = BigEndian16(header + 1);
    frame.width = BigEndian16(header + 3);
    frame.components = header[5];
    if (frame.components == 0 || frame.components > kMaxComponents || size < 6 + 3 * frame.components)
        return false;
    if (!IsAcceptableSize(frame.width, frame.height)) return false;

    std::uint32_t maxH = 1;
    std::uint32_t maxV = 1;
    for (std::uint32_t c = 0; c < frame.components; ++c) {
        maxH = std::max<std::uint32_t>(maxH, header[7 + 3 * c] >> 4);
        maxV = std::max<std::uint32_t>(maxV, header[7 + 3 * c] & 15);
    }
    const std::uint64_t mcus = ((frame.width + 8 * maxH - 1) / (8 * maxH)) *
                               std::uint64_t{(frame.height + 8 * maxV - 1) / (8 * maxV)};
    frame.blocks = 0;
    for (std::uint32_t c = 0; c < frame.components; ++c)
        frame.blocks += mcus * (header[7 + 3 * c] >> 4) * (header[7 + 3 * c] & 15);
    return true;
}

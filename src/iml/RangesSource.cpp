#include "RangesSource.h"

#include <algorithm>

void RangesSource::Append(std::uint64_t from, std::uint64_t to) {
    if (!m_ranges.empty() && m_ranges.back().offset + m_ranges.back().size == from) {
        m_ranges.back().size += to - from;
    } else {
        m_ranges.push_back({from, to - from});
    }
    m_nSize += to - from;
}

std::size_t RangesSource::ReadAt(std::uint64_t nOffset, void* pOut, std::size_t nBytes) {
    std::size_t nRead = 0;
    for (const ByteRange& range : m_ranges) {
        if (nOffset >= range.size) {
            nOffset -= range.size;
            continue;
        }
        const auto want =
            static_cast<std::size_t>(std::min<std::uint64_t>(nBytes - nRead, range.size - nOffset));
        const std::size_t got =
            m_whole.ReadAt(range.offset + nOffset, static_cast<std::uint8_t*>(pOut) + nRead, want);
        nRead += got;
        if (got < want || nRead == nBytes) break;
        nOffset = 0;
    }
    return nRead;
}

#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "ByteSource.h"

/// Reads a source from front to back through a small buffer, for formats that are taken a few bytes at a
/// time.
class SequentialReader {
  public:
    explicit SequentialReader(ByteSource& source, std::uint64_t nOffset = 0)
        : m_source(source), m_nOffset(nOffset) {}

    /// Reads up to `nBytes`. Returns the bytes read: fewer at the end.
    std::size_t Read(void* pOut, std::size_t nBytes) {
        auto* pTo = static_cast<std::uint8_t*>(pOut);
        std::size_t nRead = TakeBuffered(pTo, nBytes);
        if (nBytes - nRead >= m_buffer.size()) {
            const std::size_t nDirect = m_source.ReadAt(m_nOffset, pTo + nRead, nBytes - nRead);
            m_nOffset += nDirect;
            return nRead + nDirect;
        }
        if (nRead < nBytes) {
            Fill();
            nRead += TakeBuffered(pTo + nRead, nBytes - nRead);
        }
        return nRead;
    }

    /// True if all `nBytes` were read.
    bool ReadAll(void* pOut, std::size_t nBytes) { return Read(pOut, nBytes) == nBytes; }

  private:
    std::size_t TakeBuffered(std::uint8_t* pTo, std::size_t nBytes) {
        const std::size_t nTaken = std::min(nBytes, m_nEnd - m_nNext);
        std::memcpy(pTo, m_buffer.data() + m_nNext, nTaken);
        m_nNext += nTaken;
        return nTaken;
    }

    void Fill() {
        m_nNext = 0;
        m_nEnd = m_source.ReadAt(m_nOffset, m_buffer.data(), m_buffer.size());
        m_nOffset += m_nEnd;
    }

    ByteSource& m_source;
    std::uint64_t m_nOffset;  // where the buffer ends in the source
    std::size_t m_nNext = 0;
    std::size_t m_nEnd = 0;
    std::array<std::uint8_t, 16 * 1024> m_buffer;
};

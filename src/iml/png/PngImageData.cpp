#include "PngImageData.h"

#include <isa-l/crc.h>

#include <algorithm>
#include <string_view>

namespace {

std::uint32_t ReadBigEndian(const std::uint8_t* p) {
    return std::uint32_t{p[0]} << 24 | std::uint32_t{p[1]} << 16 | std::uint32_t{p[2]} << 8 | p[3];
}

}  // namespace

std::size_t PngImageData::Read(std::uint8_t* pOut, std::size_t nBytes) {
    std::size_t nRead = 0;
    while (nRead < nBytes && !m_bEnded) {
        if (m_nLeft == 0 && !BeginChunk()) break;
        const std::size_t nWanted = std::min<std::size_t>(nBytes - nRead, m_nLeft);
        const std::size_t nGot = m_reader.Read(pOut + nRead, nWanted);
        m_nSum = crc32_gzip_refl(m_nSum, pOut + nRead, nGot);
        m_nLeft -= static_cast<std::uint32_t>(nGot);
        nRead += nGot;
        if (nGot < nWanted) m_bEnded = true;
        if (m_nLeft == 0) EndChunk();
    }
    return nRead;
}

bool PngImageData::BeginChunk() {
    std::uint8_t header[8];
    m_bEnded = !m_reader.ReadAll(header, sizeof header) ||
               std::string_view(reinterpret_cast<const char*>(header) + 4, 4) != "IDAT";
    if (m_bEnded) return false;
    m_nLeft = ReadBigEndian(header);
    m_nSum = crc32_gzip_refl(0, header + 4, 4);
    return true;
}

void PngImageData::EndChunk() {
    std::uint8_t sum[4];
    if (!m_reader.ReadAll(sum, sizeof sum) || ReadBigEndian(sum) != m_nSum) m_bEnded = m_bDamaged = true;
}

#include "BmpRunLength.h"

#include <algorithm>

BmpRunLength::BmpRunLength(ByteSource& source, const BmpHeader& header)
    : m_input(source, header.pixelOffset),
      m_bNibbles(header.compression == BmpCompression::kRle4),
      m_row(header.width) {}

const std::uint8_t* BmpRunLength::NextRow() {
    std::fill(m_row.begin(), m_row.end(), std::uint8_t{0});
    if (m_nRowsToSkip > 0) {
        --m_nRowsToSkip;
        return m_row.data();
    }
    return m_bEnd || DecodeRow() ? m_row.data() : nullptr;
}

bool BmpRunLength::DecodeRow() {
    bool bRowDone = false;
    while (!bRowDone) {
        std::uint8_t pair[2];
        if (!m_input.ReadAll(pair, sizeof(pair))) {
            const bool complete = m_x == m_row.size();  // only the mark of its end is missing
            m_x = 0;
            return complete;
        }
        if (pair[0] == 0) {
            if (!DecodeEscape(pair[1], bRowDone)) return false;
            continue;
        }
        for (unsigned i = 0; i < pair[0]; ++i) {
            const int nShift = i % 2 == 0 ? 4 : 0;
            Put(m_bNibbles ? static_cast<std::uint8_t>(pair[1] >> nShift & 0xF) : pair[1]);
        }
    }
    return true;
}

bool BmpRunLength::DecodeEscape(unsigned code, bool& bRowDone) {
    constexpr unsigned kEndOfRow = 0;
    constexpr unsigned kEndOfPicture = 1;
    constexpr unsigned kMove = 2;
    if (code > kMove) return CopyPixels(code);
    bRowDone = true;
    if (code == kEndOfRow) m_x = 0;
    if (code == kEndOfPicture) m_bEnd = true;
    if (code != kMove) return true;

    std::uint8_t move[2];  // to the right, to later rows
    if (!m_input.ReadAll(move, sizeof(move))) return false;
    m_x = std::min(m_x + move[0], m_row.size());
    bRowDone = move[1] > 0;
    if (bRowDone) m_nRowsToSkip = move[1] - 1u;
    return true;
}

bool BmpRunLength::CopyPixels(unsigned nPixels) {
    std::uint8_t bytes[256];
    const unsigned nBytes = m_bNibbles ? (nPixels + 1) / 2 : nPixels;
    if (!m_input.ReadAll(bytes, nBytes + nBytes % 2)) return false;
    for (unsigned i = 0; i < nPixels; ++i) {
        const int nShift = i % 2 == 0 ? 4 : 0;
        Put(m_bNibbles ? static_cast<std::uint8_t>(bytes[i / 2] >> nShift & 0xF) : bytes[i]);
    }
    return true;
}

#pragma once

#include <cstdint>
#include <vector>

#include "BmpHeader.h"
#include "iml/SequentialReader.h"

/// The rows of a run-length coded BMP file, in the order of the file, as palette indices. Pixels that the
/// code leaves out have index 0.
class BmpRunLength {
  public:
    BmpRunLength(ByteSource& source, const BmpHeader& header);

    /// The next row; null if the file ends before it is complete.
    const std::uint8_t* NextRow();

  private:
    bool DecodeRow();
    bool DecodeEscape(unsigned code, bool& bRowDone);
    bool CopyPixels(unsigned nPixels);
    void Put(std::uint8_t index) {
        if (m_x < m_row.size()) m_row[m_x++] = index;
    }

    SequentialReader m_input;
    bool m_bNibbles;  // two pixels in a byte
    std::vector<std::uint8_t> m_row;
    std::size_t m_x = 0;         // where the next pixel goes
    unsigned m_nRowsToSkip = 0;  // rows that are left out
    bool m_bEnd = false;         // all further rows are left out
};

#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "JpegPlane.h"
#include "JpegScans.h"
#include "iml/RowSink.h"

/// Makes the rows of a reduced picture from the samples of its components, for a sink.
class JpegReducedRows {
  public:
    /// Begins with the sink, for rows at `eighths` / 8 of the picture's size. `scans` has got to a scan, and
    /// outlives the object.
    JpegReducedRows(const JpegScans& scans, std::uint32_t eighths, RowSink& sink);

    /// Adds the rows of the next row of units, number `unitRow` of those that the planes keep. False if
    /// coefficients are out of bounds, or a quantiser is missing.
    bool AddUnits(JpegPlanes& planes, std::size_t unitRow);

    /// The same of all rows of units, where the planes keep the whole picture.
    bool AddAll(JpegPlanes& planes);

  private:
    void AddRow(const JpegPlanes& planes, std::size_t unitRow, std::uint32_t row);
    const std::uint8_t* Spread(std::size_t nComponent, const std::uint8_t* pSamples, std::uint32_t nRepeat);
    void ConvertYCbCr(std::array<const std::uint8_t*, 3>& rows);

    const JpegScans& m_scans;
    const std::uint32_t m_eighths;
    RowSink& m_sink;
    std::uint32_t m_nWidth;
    std::uint32_t m_nHeight;
    std::uint32_t m_nRows = 0;  // that have been added
    std::array<std::vector<std::uint8_t>, 3> m_spread;
    std::array<std::vector<std::uint8_t>, 3> m_converted;
    std::vector<std::uint8_t> m_row;
};

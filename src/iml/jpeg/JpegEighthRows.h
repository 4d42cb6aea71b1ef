#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "JpegScans.h"
#include "iml/RowSink.h"

/// Makes the rows of a picture at 1/8 of its size from the samples of its components, for a sink.
class JpegEighthRows {
  public:
    /// Begins with the sink. `scans` has got to a scan, and outlives the object.
    JpegEighthRows(const JpegScans& scans, RowSink& sink);

    std::uint32_t Height() const { return m_nHeight; }

    /// Adds the next row. Of each component, the row of samples that covers it, with `perBlock` samples of
    /// a block in a row.
    struct Samples {
        const std::uint8_t* pRow;
        std::uint32_t perBlock;
    };
    void Add(const std::array<Samples, 3>& components);

  private:
    const std::uint8_t* Spread(std::size_t nComponent, const Samples& samples);
    void ConvertYCbCr(std::array<const std::uint8_t*, 3>& rows);

    const JpegScans& m_scans;
    RowSink& m_sink;
    std::uint32_t m_nWidth;
    std::uint32_t m_nHeight;
    std::array<std::vector<std::uint8_t>, 3> m_spread;
    std::array<std::vector<std::uint8_t>, 3> m_converted;
    std::vector<std::uint8_t> m_row;
};

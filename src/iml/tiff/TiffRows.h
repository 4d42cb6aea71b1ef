#pragma once

#include <cstdint>
#include <memory>

#include "TiffLayout.h"
#include "iml/ByteSource.h"

/// Gives the rows of a TIFF picture as they are stored: if the layout is separate, one plane after another.
class TiffRows {
  public:
    virtual ~TiffRows() = default;

    /// Reads a row of Planes() * PlaneBytes() bytes. Rows must be read from the top, each once.
    virtual bool Read(std::uint32_t nRow, std::uint8_t* pOut) = 0;

    std::uint64_t PlaneBytes() const { return m_nPlaneBytes; }

  protected:
    std::uint64_t m_nPlaneBytes = 0;  // of one row
};

/// Null if the file is damaged or would take too much memory. Throws std::bad_alloc.
std::unique_ptr<TiffRows> OpenTiffRows(ByteSource& source, const TiffLayout& layout);

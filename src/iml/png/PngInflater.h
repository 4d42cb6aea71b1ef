#pragma once

#include <isa-l/igzip_lib.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "PngImageData.h"

/// Inflates the image data of a PNG, and is sure of it: whatever is wrong with the data, or merely unusual,
/// ends it.
class PngInflater {
  public:
    /// `nOffset`: where the first IDAT chunk begins. Throws std::bad_alloc.
    PngInflater(ByteSource& source, std::uint64_t nOffset);

    /// Reads the header of the data. False if it is not one that a PNG may have.
    bool Start();

    /// Inflates the next `nBytes`. False if there are not as many.
    bool Read(std::uint8_t* pOut, std::size_t nBytes);

    /// Whether the data end here, and all checksums are right.
    bool Finish();

  private:
    bool Refill();
    bool Inflate();

    PngImageData m_data;
    std::vector<std::uint8_t> m_input;
    std::unique_ptr<inflate_state> m_pState;
    bool m_bDamaged = false;
};

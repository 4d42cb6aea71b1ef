#pragma once

#include "Raster.h"

namespace TestSupport {

/// What the reference scales to.
struct ReferenceTarget {
    std::uint32_t nWidth = 0;
    std::uint32_t nHeight = 0;
    unsigned nChannels = 3;

    /// The part of the source, from its top left corner, that becomes the whole target; 0: all of it.
    double extentX = 0;
    double extentY = 0;
};

/// Scales in the plainest way: Keys' cubic convolution kernel with a = -0.5, widened by a reduction, the
/// weights that fall beyond an edge left out and the others brought to a sum of 1; one direction after the
/// other, in floats, rounded to nearest at the end. Colour is weighted by alpha, and a source with alpha is
/// composed over white if the target has none.
Raster ReferenceResample(const Raster& source, const ReferenceTarget& target);

}  // namespace TestSupport

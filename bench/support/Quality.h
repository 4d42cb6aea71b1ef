#pragma once

#include "support/Raster.h"

namespace Bench {

using TestSupport::Raster;

/// Both compare the luma (BT.601) of two pictures of one size; alpha is left out.

/// Structural similarity (Wang et al., IEEE Trans. Image Processing 13, 2004): 11 x 11 Gaussian window of
/// sigma 1.5, mean over all places where the window fits; 1 for equal pictures. Smaller pictures than the
/// window are not comparable: NaN.
double LumaSsim(const Raster& picture, const Raster& original);

/// Peak signal-to-noise ratio in dB; infinite for equal pictures.
double LumaPsnr(const Raster& picture, const Raster& original);

}  // namespace Bench

#pragma once

#include "JpegSegments.h"
#include "iml/ByteSource.h"
#include "iml/RowSink.h"

/// Decodes a JPEG at `eighths` / 8 of its size, 1 to 4, without more of the blocks' coefficients than that
/// takes. At 1/8 a pixel is the mean of a block, from 2/8 on its pixels are of its lowest waves, see
/// JpegLowWaves. What comes behind the last scan that is needed is not looked at. False, and nothing is in
/// the sink, if the file is not one that this is sure of: it may be damaged, or of a kind that libjpeg knows
/// better.
bool DecodeJpegReduced(ByteSource& source, const JpegFrame& frame, std::uint32_t eighths, RowSink& sink);

#pragma once

#include "JpegSegments.h"
#include "iml/ByteSource.h"
#include "iml/RowSink.h"

/// Decodes a JPEG at 1/8 of its size, of which every pixel is the mean of a block, without more of the
/// blocks' coefficients than that takes. False, and nothing is in the sink, if the file is not one that this
/// is sure of: it may be damaged, or of a kind that libjpeg knows better.
bool DecodeJpegDc(ByteSource& source, const JpegFrame& frame, RowSink& sink);

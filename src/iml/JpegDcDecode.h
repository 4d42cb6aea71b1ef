#pragma once

#include "ByteSource.h"
#include "JpegSegments.h"
#include "RowSink.h"

/// Decodes a progressive JPEG at 1/8 of its size from its DC coefficients alone, many times as fast as a
/// decode of all of it. False, and nothing has gone to the sink, if the file is not one that this is sure of.
bool DecodeProgressiveDc(ByteSource& source, const JpegFrame& frame, RowSink& sink);

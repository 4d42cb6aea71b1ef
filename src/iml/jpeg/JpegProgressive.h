#pragma once

#include "JpegScans.h"
#include "iml/ByteSource.h"
#include "iml/RowSink.h"

/// Decodes a progressive JPEG at `eighths` / 8 of its size, 1 to 4, keeping no more of its blocks than that
/// takes. At 1/8 it goes by the DC coefficients alone, which come first and make up a few per cent of the
/// file. `scan` is the first one that `scans` has found. False if the file is not one that this is sure of;
/// rows may have gone to the sink.
bool DecodeJpegProgressive(ByteSource& source, JpegScans& scans, JpegScan scan, std::uint32_t eighths,
                           RowSink& sink);

#pragma once

#include "JpegScans.h"
#include "iml/ByteSource.h"
#include "iml/RowSink.h"

/// Decodes a sequential JPEG at `eighths` / 8 of its size, 1 to 4. At 1/8 libjpeg would do it alike to the
/// last bit, in about twice the time: where a block makes one sample, its AC coefficients are stepped over.
/// `scan` is the first one that `scans` has found. False if the file is not one that this is sure of; rows
/// may have gone to the sink.
bool DecodeJpegBaseline(ByteSource& source, JpegScans& scans, const JpegScan& scan, std::uint32_t eighths,
                        RowSink& sink);

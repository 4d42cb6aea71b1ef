#pragma once

#include "JpegScans.h"
#include "iml/ByteSource.h"
#include "iml/RowSink.h"

/// Decodes a progressive JPEG at 1/8 of its size from its DC coefficients alone, many times as fast as a
/// decode of all of it: the AC scans, most of the file, are stepped over. Memory is 2 bytes a block. `scan`
/// is the first one that `scans` has found. False if the file is not one that this is sure of; rows may have
/// gone to the sink.
bool DecodeProgressiveDc(ByteSource& source, JpegScans& scans, const JpegScan& scan, RowSink& sink);

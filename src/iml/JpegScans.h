#pragma once

#include <cstdint>

#include "RangesSource.h"

/// Appends to `dcScans` the parts of a progressive JPEG that make its DC coefficients, which are all that a
/// decode at 1/8 scale takes: the segments before and between the scans, and the scans of DC coefficients, up
/// to the one that completes them. The AC scans, most of the file, are skipped, not decoded.
/// False if the file has more scans than is acceptable, or no DC scan.
bool FindDcScans(ByteSource& source, std::uint32_t nComponents, RangesSource& dcScans);

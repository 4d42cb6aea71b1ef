#pragma once

#include <cstdint>

#include "PngPixels.h"
#include "iml/ByteSource.h"
#include "iml/RowSink.h"

/// Decodes the pixels of a PNG, which have to be known. `nOffset`: where the first IDAT chunk begins;
/// `shape`: what the sink gets. In half of libpng's time or less. False, and nothing is in the sink, if
/// anything about the data is unusual: they may be damaged, and what is then shown is libpng's affair; or if
/// the processor is too old.
bool DecodePngRows(ByteSource& source, std::uint64_t nOffset, const PngPixels& pixels, const RowShape& shape,
                   RowSink& sink);

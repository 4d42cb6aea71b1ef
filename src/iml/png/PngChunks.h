#pragma once

#include <optional>

#include "iml/RangesSource.h"

/// Appends to `chunks` what a decoder of the picture needs of a PNG: the chunks that matter to the pixels,
/// and everything from the image data on. Texts, profiles and the like are stepped over, however long they
/// say they are. Returns where the image data begin in the source, if there are any.
std::optional<std::uint64_t> FindPictureChunks(ByteSource& source, RangesSource& chunks);

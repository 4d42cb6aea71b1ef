#pragma once

#include "iml/RangesSource.h"

/// Appends to `chunks` what a decoder of the picture needs of a PNG: the chunks that matter to the pixels,
/// and everything from the image data on. Texts, profiles and the like are stepped over, however long they
/// say they are. False if there is no image data.
bool FindPictureChunks(ByteSource& source, RangesSource& chunks);

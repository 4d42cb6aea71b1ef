#pragma once

#include "ByteSource.h"
#include "Codec.h"

/// Finds the JPEG thumbnail that the second directory (IFD1) of a TIFF structure points to. `source` begins
/// with the TIFF header: the payload of an EXIF segment, or a TIFF file. Looks at the two directories and
/// the two fields of the thumbnail, and at nothing else. False if there is none within the source.
bool FindExifThumbnail(ByteSource& source, ByteRange& thumbnail);

/// The same in a TIFF file, whose second directory may also be a page of its own: it must say that it is a
/// reduced picture.
bool FindTiffThumbnail(ByteSource& source, ByteRange& thumbnail);

#pragma once

#include <cstdint>

#include "imaging/TNGThumbnailProducer.h"
#include "store/TNGFileData.h"

/// Makes the thumbnails of a record anew from its source file, never from the thumbnail inside it, appends
/// them to the folder's data file and sets the record's locations and original size. `record` is a copy,
/// which bears the file's present time and size; `nDataFileKey` is the key of the data file's lock. No lock
/// may be held. A video that yields nothing becomes a record without thumbnails. QXTNG_ERROR_FAILED for any
/// other file that does, and for one that changed meanwhile.
std::uint32_t RefreshThumbnailData(CTNGFileData& record, std::uint32_t nDataFileKey,
                                   CTNGThumbnailProducer& producer);

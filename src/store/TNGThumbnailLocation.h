#pragma once

#include <cstdint>

#include "common/TNGTypes.h"
#include "platform/Files.h"
#include "store/TNGFileData.h"

/// Where the thumbnails of a record stand in the data file. A block is the extra-large thumbnail, if there is
/// one, the large one, the small one and the trailer, without gaps. All numbers are in bytes.

/// Sets the locations of a block that begins at `offset`; or with `bNone` marks a video without thumbnails.
void SetThumbnailLocations(CTNGFileData& record, bool bNone, std::int32_t offset, bool bHasExtraLarge,
                           std::int32_t extraLargeSize, std::int32_t largeSize, std::int32_t smallSize);

/// The thumbnail that serves a request of this size, and the trailer of its block.
void GetThumbnailLocation(const CTNGFileData& record, const TNGSize& requested, std::int32_t* pOffset,
                          std::int32_t* pSize, std::int32_t* pTrailerOffset);

/// True if a record that is not marked as deleted has thumbnails of its own in the data file.
bool HasBlock(const CTNGFileData& record);

/// Where the block of a live record ends; 0 if it has none.
std::int64_t EndOfBlock(const CTNGFileData& record);

/// True for a video that is recorded without thumbnails.
bool HasNoThumbnail(const CTNGFileData& record);

/// True if the block holds an extra-large thumbnail.
bool HasExtraLarge(const CTNGFileData& record);

/// True if the record was made from the file as its directory entry shows it: the same time and size.
bool IsSameFile(const CTNGFileData& record, const Platform::WIN32_FIND_DATAW& fileInfo);

#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>

#include "common/TNGTypes.h"
#include "platform/Files.h"

class CTNGFolderMap;

/// Versions of a record in a list file. Stored: the values never change.
inline constexpr std::uint32_t FILE_DATA_VERSION_1 = 1;  // without the extra-large thumbnail
inline constexpr std::uint32_t FILE_DATA_CURRENT_VERSION = 2;

/// What the cache knows of one source file. Its format in a list file stands in docs/cache-format.md.
/// A new record is marked as deleted; it becomes live when its thumbnails are there.
class CTNGFileData {
  public:
    /// Writes the record at the stream's position, in the current version. 1, or 0 if the stream has an
    /// error.
    int Save(std::FILE* pFile);

    /// Reads a record of either version. 1, or 0 if it cannot be one. A field that the file no longer holds
    /// keeps its value. Throws std::bad_alloc for a text that is too long.
    int Load(std::FILE* pFile);

    std::uint32_t m_nVersion = 0;
    std::u16string m_strFilePath;  // full path of the source file: the key
    std::uint32_t m_eFileType = ASSET_TYPE_UNKNOWN;
    std::u16string m_strDataFileName;  // bare name of the data file with the thumbnails
    Platform::FILETIME m_ftLastWrite;  // of the source file when the thumbnails were made
    std::uint32_t m_nFileSize = 0;     // low 32 bits, at that time
    std::int32_t m_nLargeOffset = 0;   // bytes in the data file
    std::int32_t m_nLargeSize = 0;     // bytes
    std::int32_t m_nSmallOffset = 0;
    std::int32_t m_nSmallSize = 0;
    std::uint8_t m_bDeleted = 1;         // the record does not count
    std::uint8_t m_bAudio = 0;           // the file is ASSET_TYPE_AUDIO
    std::uint8_t m_bEmbedded = 0;        // made from the thumbnail embedded in the file
    std::uint32_t m_nOriginalWidth = 0;  // pixels; 0 if not known
    std::uint32_t m_nOriginalHeight = 0;
    std::int32_t m_nExtraLargeOffset = -1;  // -1: none
    std::int32_t m_nExtraLargeSize = 0;
    CTNGFolderMap* m_pFolderMap = nullptr;  // whose list holds the record; not owned, not stored
    std::weak_ptr<const void> m_pAddition;  // what is at making it, while something is; not stored

  private:
    int LoadFileDataVersion1(std::FILE* pFile);
    int LoadFileDataCurrentVersion(std::FILE* pFile);
};

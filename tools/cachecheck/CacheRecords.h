#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "InputFile.h"

/// The records of index and list files, as docs/cache-format.md tells them.
namespace CacheCheck {

inline constexpr int kMaxFileNumber = 9999;
inline constexpr std::uint64_t kTrailerSize = 12;

struct FolderRecord {
    std::uint64_t offset = 0;  // of the record in its file
    std::u16string path;
    std::u16string dataFile;
    std::u16string listFile;
    std::int32_t number = 0;
};

/// Types of source files in records; there are more.
inline constexpr std::uint32_t kTypePicture = 1;
inline constexpr std::uint32_t kTypeVideo = 3;

/// What matters of a file record.
struct FileRecord {
    std::uint64_t offset = 0;  // of the record in its file
    std::u16string path;
    std::uint32_t type = 0;
    std::u16string dataFile;
    std::uint64_t lastWrite = 0;
    std::int32_t largeOffset = 0;
    std::int32_t largeSize = 0;
    std::int32_t smallOffset = 0;
    std::int32_t smallSize = 0;
    std::uint8_t deleted = 0;
    std::int32_t extraLargeOffset = -1;
    std::int32_t extraLargeSize = 0;
};

/// How a source file is shown.
enum class RecordState { Deleted, DefaultImage, NoThumbnail, Block };

RecordState StateOf(const FileRecord& record);

/// Bytes in a data file, the trailer included.
struct BlockRange {
    std::uint64_t start = 0;
    std::uint64_t end = 0;
};

/// The block of a record in the state Block; none if the locations do not fit together.
std::optional<BlockRange> BlockOf(const FileRecord& record);

enum class ReadResult {
    Good,
    End,             // the file ends where the record would begin
    CutOff,          // the file ends inside the record
    UnknownVersion,  // nothing can be told of it or of what follows
    BadLength,       // a text of a negative length, or above 2^20 units
};

/// Read one record at the position of the file. After anything but Good the position means nothing.
ReadResult ReadFolderRecord(InputFile& file, FolderRecord& record);
ReadResult ReadFileRecord(InputFile& file, FileRecord& record);

/// The number of a bare file name like "27.dat", for the extension ".dat"; none for other names.
std::optional<int> FileNumberOf(std::u16string_view name, std::u16string_view extension);

}  // namespace CacheCheck

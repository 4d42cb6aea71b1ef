#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

/// Checks the files of a thumbnail cache against docs/cache-format.md. It changes nothing and takes no lock:
/// no process should be in the cache meanwhile. Memory is bounded by the sizes of the files, whatever they
/// say.
namespace CacheCheck {

enum class Severity {
    Warning,  // dead weight, or an oddity that readers accept
    Error,    // a reader loses data or gives wrong data
};

/// What was found. The kinds have fixed names, see NameOf().
enum class FindingKind {
    FolderUnreadable,
    IndexMissing,
    IndexUnreadable,
    IndexShort,
    IndexCountNegative,
    IndexCountHigh,
    IndexCountLow,
    IndexTruncated,
    IndexVersion,
    IndexLength,
    IndexTrailing,
    FolderDuplicate,
    FolderNames,
    FolderNumberRange,
    FolderNumberTwice,
    ListMissing,
    ListUnreadable,
    ListShort,
    ListCountNegative,
    ListCountHigh,
    ListCountLow,
    ListTruncated,
    ListVersion,
    ListLength,
    ListTrailing,
    RecordFolder,
    RecordDataFile,
    RecordMark,
    RecordDuplicate,
    BlockLayout,
    DataMissing,
    DataUnreadable,
    DataTooLarge,
    BlockOutside,
    BlockTrailer,
    BlockOverlap,
    OrphanList,
    OrphanData,
    TemporaryFile,
    UnknownFile,
    DateTimeSize,
};

/// The name of a kind for programs, as in "list-truncated". It never changes.
const char* NameOf(FindingKind kind);

struct Finding {
    Severity severity;
    FindingKind kind;
    std::string file;      // bare name, as bytes; empty for the folder itself
    std::uint64_t offset;  // in the file, in bytes
    std::string text;      // one line, with paths as their bytes
};

struct Tally {
    std::uint64_t number = 0;
    std::uint64_t bytes = 0;  // of thumbnails
};

struct Statistics {
    std::uint64_t folders = 0;
    std::uint64_t records = 0;
    std::uint64_t live = 0;  // not marked as deleted, the next two included
    std::uint64_t deleted = 0;
    std::uint64_t defaultImages = 0;  // live, shown with a default image
    std::uint64_t noThumbnails = 0;   // live videos that yield none
    Tally pictures;                   // live records by type
    Tally videos;
    Tally others;
    Tally small;  // renditions of live records
    Tally large;
    Tally extraLarge;
    std::uint64_t liveBytes = 0;  // of data files: blocks of live records
    std::uint64_t deadBytes = 0;  // of data files: all the rest
};

/// Findings above this number are counted, and not kept.
inline constexpr std::size_t kMaxFindings = 10'000;

struct CacheReport {
    std::vector<Finding> findings;  // of the index, folder by folder, then of other files
    std::uint64_t errors = 0;
    std::uint64_t warnings = 0;
    Statistics statistics;
};

/// A folder that is missing or cannot be listed is a finding, too. Throws std::bad_alloc only.
CacheReport CheckCache(const std::filesystem::path& folder);

}  // namespace CacheCheck

#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "CacheRecords.h"
#include "Findings.h"

namespace CacheCheck {

/// A block that a live record points at.
struct LiveBlock {
    BlockRange range;
    std::uint64_t recordOffset;  // of its record in the list
};

/// The paths of records that have been read before.
class RecordPaths {
  public:
    explicit RecordPaths(const std::filesystem::path& list) : m_file(list) {}

    /// The path in quotation marks.
    std::string At(std::uint64_t recordOffset);

  private:
    InputFile m_file;
};

/// Checks the list of a folder. Returns the blocks that have to be in its data file.
std::vector<LiveBlock> CheckList(const std::filesystem::path& folder, const FolderRecord& owner,
                                 Findings& findings);

}  // namespace CacheCheck

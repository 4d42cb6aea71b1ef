#pragma once

#include <filesystem>
#include <vector>

#include "ListCheck.h"

namespace CacheCheck {

/// Checks the data file of a folder against the blocks that its list points at, and counts its bytes.
void CheckDataFile(const std::filesystem::path& folder, const FolderRecord& owner,
                   std::vector<LiveBlock> blocks, Findings& findings);

}  // namespace CacheCheck

#pragma once

#include <filesystem>
#include <vector>

#include "CacheRecords.h"
#include "Findings.h"
#include "FolderScan.h"

namespace CacheCheck {

/// Checks the index file. Returns the folders whose files can be looked at: both names are good, and no other
/// folder has them. Their files have an owner from then on.
std::vector<FolderRecord> CheckIndex(const std::filesystem::path& folder, FolderScan& scan,
                                     Findings& findings);

}  // namespace CacheCheck

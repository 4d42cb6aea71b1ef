#pragma once

#include <string>
#include <vector>

#include "CacheContents.h"

namespace Client {

/// The part of a cache that some paths name.
struct CacheSelection {
    std::vector<CacheCheck::CachedFolder> folders;  // whole ones
    std::vector<CacheCheck::CachedFile> files;      // single ones
    std::vector<std::string> missing;               // paths of which the cache has nothing
};

/// Finds files and source folders in a cache, whether they still exist or not. `recursive` takes the folders
/// in a folder, too. Holds the cache while it reads.
CacheSelection SelectFromCache(const std::string& cacheFolder, const std::vector<std::string>& paths,
                               bool recursive);

/// The same of everything that the cache has.
CacheSelection SelectWholeCache(const std::string& cacheFolder);

/// Reports the paths of which the cache has nothing. True if there are none.
bool ReportMissing(const CacheSelection& selection);

}  // namespace Client

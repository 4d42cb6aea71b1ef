#pragma once

#include <filesystem>
#include <string>
#include <vector>

/// What a cache has, for programs that go through it. Like the check, it takes no lock.
namespace CacheCheck {

/// A live record.
struct CachedFile {
    std::string path;    // as bytes
    bool hasThumbnails;  // a picture or a video that is not shown with a default image
};

struct CachedFolder {
    std::string path;               // as bytes, without a separator at the end
    std::vector<CachedFile> files;  // by their paths
};

/// The source folders of a cache by their paths. What is damaged is left out.
std::vector<CachedFolder> ReadContents(const std::filesystem::path& cacheFolder);

}  // namespace CacheCheck

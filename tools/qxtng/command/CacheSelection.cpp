#include "CacheSelection.h"

#include <algorithm>
#include <filesystem>

#include "files/SourceFile.h"
#include "terminal/Messages.h"
#include "thumbnails/ThumbnailCache.h"

namespace Client {
namespace {

using CacheCheck::CachedFile;
using CacheCheck::CachedFolder;

std::vector<CachedFolder> ReadHeld(const std::string& cacheFolder) {
    const CacheHold hold;
    return CacheCheck::ReadContents(cacheFolder);
}

/// The path as keys of the cache are spelled: from the root, without a separator at the end, which leaves
/// nothing of the root itself.
std::string KeyOf(const std::string& path) {
    std::string key = AbsolutePath(path);
    if (key.find("/..") != std::string::npos) key = std::filesystem::weakly_canonical(key);
    while (key.ends_with('/'))
        key.pop_back();
    return key;
}

void Select(const std::vector<CachedFolder>& contents, const std::string& path, bool recursive,
            CacheSelection& selection) {
    const std::string key = KeyOf(path);
    const std::size_t before = selection.folders.size() + selection.files.size();
    for (const CachedFolder& folder : contents) {
        if (folder.path == key || (recursive && folder.path.starts_with(key + '/')))
            selection.folders.push_back(folder);
        if (!key.starts_with(folder.path + '/')) continue;
        const auto file = std::ranges::find(folder.files, key, &CachedFile::path);
        if (file != folder.files.end()) selection.files.push_back(*file);
    }
    if (selection.folders.size() + selection.files.size() == before) selection.missing.push_back(path);
}

}  // namespace

CacheSelection SelectFromCache(const std::string& cacheFolder, const std::vector<std::string>& paths,
                               bool recursive) {
    const std::vector<CachedFolder> contents = ReadHeld(cacheFolder);
    CacheSelection selection;
    for (const std::string& path : paths)
        Select(contents, path, recursive, selection);
    return selection;
}

CacheSelection SelectWholeCache(const std::string& cacheFolder) {
    return {ReadHeld(cacheFolder), {}, {}};
}

bool ReportMissing(const CacheSelection& selection) {
    for (const std::string& path : selection.missing)
        PrintError(DisplayableName(path) + ": not in the cache");
    return selection.missing.empty();
}

}  // namespace Client

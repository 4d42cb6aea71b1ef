#include "CacheContents.h"

#include <algorithm>
#include <map>

#include "FolderScan.h"
#include "IndexCheck.h"
#include "platform/Text.h"

namespace CacheCheck {
namespace {

bool HasThumbnails(const FileRecord& record) {
    const RecordState state = StateOf(record);
    return state == RecordState::Block || state == RecordState::NoThumbnail;
}

// A later record of the same path replaces an earlier one.
std::vector<CachedFile> ReadFiles(const std::filesystem::path& list) {
    InputFile file(list);
    std::map<std::string, FileRecord> records;
    std::int32_t count = 0;
    FileRecord record;
    if (!file.IsOpen() || !file.ReadNumber(count)) return {};
    for (; count > 0 && ReadFileRecord(file, record) == ReadResult::Good; --count)
        records[Platform::PathToBytes(record.path)] = record;
    std::vector<CachedFile> files;
    for (const auto& [path, last] : records) {
        if (StateOf(last) != RecordState::Deleted) files.push_back({path, HasThumbnails(last)});
    }
    return files;
}

}  // namespace

std::vector<CachedFolder> ReadContents(const std::filesystem::path& cacheFolder) {
    CacheReport report;
    Findings findings(report);
    FolderScan scan(cacheFolder, findings);
    std::vector<CachedFolder> folders;
    for (const FolderRecord& owner : CheckIndex(cacheFolder, scan, findings)) {
        const std::filesystem::path list = cacheFolder / Platform::PathToBytes(owner.listFile);
        folders.push_back({Platform::PathToBytes(owner.path), ReadFiles(list)});
    }
    std::ranges::sort(folders, {}, &CachedFolder::path);
    return folders;
}

}  // namespace CacheCheck

#include "FolderScan.h"

#include <algorithm>
#include <system_error>

#include "platform/Text.h"

namespace fs = std::filesystem;

namespace CacheCheck {

FolderScan::FolderScan(const fs::path& folder, Findings& findings) : m_folder(folder) {
    std::error_code error;
    fs::directory_iterator entry(folder, error);
    for (; !error && entry != fs::directory_iterator(); entry.increment(error))
        Classify(*entry);
    m_listed = !error;
    if (error) {
        findings.Error(FindingKind::FolderUnreadable, "", 0,
                       "the folder cannot be listed: " + error.message());
    }
    std::ranges::sort(m_temporary);
    std::ranges::sort(m_unknown);
}

void FolderScan::Classify(const fs::directory_entry& entry) {
    const std::string name = entry.path().filename().native();
    const std::u16string text = Platform::PathFromBytes(name);
    std::error_code ignored;
    const bool isFile = entry.is_regular_file(ignored);
    const auto note = [](std::vector<std::string>& names, const std::string& stranger) {
        if (names.size() <= kMaxFindings) names.push_back(stranger);
    };
    if (!isFile) {
        note(m_unknown, name);
    } else if (const auto list = FileNumberOf(text, u".dat")) {
        m_lists.set(static_cast<std::size_t>(*list));
    } else if (const auto data = FileNumberOf(text, u".db")) {
        m_dataFiles.set(static_cast<std::size_t>(*data));
    } else if (name.starts_with("Temp") && name.ends_with(".tmp")) {
        note(m_temporary, name);
    } else if (name != "DirectoryMap.dat" && name != "CacheUpdateInfo.txt") {
        note(m_unknown, name);
    }
}

std::uint64_t FolderScan::SizeOf(const std::string& name) const {
    std::error_code error;
    const std::uintmax_t size = fs::file_size(m_folder / name, error);
    return error ? 0 : size;
}

void FolderScan::ReportStrangers(Findings& findings) const {
    for (std::size_t number = 1; number <= kMaxFileNumber; ++number) {
        if (m_owned.test(number)) continue;
        const std::string list = std::to_string(number) + ".dat";
        const std::string data = std::to_string(number) + ".db";
        if (m_lists.test(number))
            findings.Warning(FindingKind::OrphanList, list, 0, "no folder of the index has this list");
        if (m_dataFiles.test(number)) {
            findings.Warning(FindingKind::OrphanData, data, 0, "no folder of the index has this data file");
            findings.Counts().deadBytes += SizeOf(data);
        }
    }
    for (const std::string& name : m_temporary)
        findings.Warning(FindingKind::TemporaryFile, name, 0, "left by a rewrite that was cut short");
    for (const std::string& name : m_unknown)
        findings.Warning(FindingKind::UnknownFile, name, 0, "not a file of a cache");
}

}  // namespace CacheCheck

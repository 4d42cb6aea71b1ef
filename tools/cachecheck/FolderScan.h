#pragma once

#include <bitset>
#include <filesystem>
#include <string>
#include <vector>

#include "CacheRecords.h"
#include "Findings.h"

namespace CacheCheck {

/// What is in a cache folder, by name.
class FolderScan {
  public:
    /// A folder that cannot be listed is a finding.
    FolderScan(const std::filesystem::path& folder, Findings& findings);

    bool IsListed() const { return m_listed; }
    bool HasList(int number) const { return m_lists.test(static_cast<std::size_t>(number)); }
    bool HasLists() const { return m_lists.any(); }

    /// Both files of a number have an owner.
    void Own(int number) { m_owned.set(static_cast<std::size_t>(number)); }

    /// Reports what has no owner. The data files among it are dead bytes.
    void ReportStrangers(Findings& findings) const;

  private:
    using Numbers = std::bitset<kMaxFileNumber + 1>;

    void Classify(const std::filesystem::directory_entry& entry);
    std::uint64_t SizeOf(const std::string& name) const;

    std::filesystem::path m_folder;
    bool m_listed = false;
    Numbers m_lists;
    Numbers m_dataFiles;
    Numbers m_owned;
    std::vector<std::string> m_temporary;
    std::vector<std::string> m_unknown;
};

}  // namespace CacheCheck

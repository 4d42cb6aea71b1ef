#include "FolderList.h"

#include <algorithm>
#include <filesystem>

#include "NaturalOrder.h"
#include "SourceFile.h"
#include "common/TNGTypes.h"
#include "cutil/AssetType.h"
#include "platform/Text.h"
#include "terminal/Messages.h"

namespace Client {
namespace {

namespace fs = std::filesystem;

/// Walks a tree without holding more than one folder open, however deep it is.
class TreeWalk {
  public:
    TreeWalk(const std::string& folder, bool recursive) : m_folder(folder), m_recursive(recursive) {}

    FolderList Run() {
        if (const std::error_code error = ReadFolder("")) {
            throw Failure("folder " + Displayable(m_folder.native()) + " cannot be read: " + error.message());
        }
        while (!m_pending.empty()) {
            const std::string subFolder = std::move(m_pending.back());
            m_pending.pop_back();
            if (const std::error_code error = ReadFolder(subFolder)) {
                PrintError(Displayable((m_folder / subFolder).native()) + " is left out: " + error.message());
                m_list.complete = false;
            }
        }
        std::sort(m_list.files.begin(), m_list.files.end(), NaturalLess);
        return std::move(m_list);
    }

  private:
    /// `subFolder` is empty, or ends with a separator.
    std::error_code ReadFolder(const std::string& subFolder) {
        std::error_code error;
        for (fs::directory_iterator entry(m_folder / subFolder, error), end; !error && entry != end;
             entry.increment(error)) {
            TakeEntry(*entry, subFolder + entry->path().filename().native());
        }
        return error;
    }

    void TakeEntry(const fs::directory_entry& entry, std::string path) {
        std::error_code error;
        if (entry.path().filename().native().starts_with('.')) return;
        if (entry.symlink_status(error).type() == fs::file_type::directory) {
            if (m_recursive) m_pending.push_back(path + '/');
        } else if (IsKnownType(path) && entry.is_regular_file(error)) {
            m_list.files.push_back(std::move(path));
        }
    }

    static bool IsKnownType(const std::string& path) {
        const std::uint32_t type = QxzCUtil::GetAssetType(Platform::PathFromBytes(path).c_str());
        return type == ASSET_TYPE_IMAGE || type == ASSET_TYPE_AUDIO || type == ASSET_TYPE_VIDEO;
    }

    fs::path m_folder;
    bool m_recursive;
    std::vector<std::string> m_pending;  // sub-folders to read
    FolderList m_list;
};

}  // namespace

FolderList ListFolder(const std::string& folder, bool recursive) {
    RequireFolder(folder);
    return TreeWalk(folder, recursive).Run();
}

}  // namespace Client

#include "FolderSize.h"

#include <filesystem>

namespace Client {

FolderSize SizeOfFolder(const std::string& folder) {
    FolderSize size;
    std::error_code error;
    std::filesystem::directory_iterator entry(folder, error);
    for (; !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
        std::error_code gone;
        const std::uintmax_t bytes = entry->file_size(gone);
        if (gone) continue;
        ++size.files;
        size.bytes += bytes;
    }
    return size;
}

}  // namespace Client

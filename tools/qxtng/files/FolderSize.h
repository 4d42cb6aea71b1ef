#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace Client {

struct FolderSize {
    std::size_t files = 0;
    std::uint64_t bytes = 0;
};

/// Of the files right in a folder. What cannot be read counts as nothing.
FolderSize SizeOfFolder(const std::string& folder);

}  // namespace Client

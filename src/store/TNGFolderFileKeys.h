#pragma once

#include <cstdint>

/// Keys of the locks of a folder's two cache files: the hashes of their full paths.
struct TNGFolderFileKeys {
    std::uint32_t m_nDataFileKey = 0;
    std::uint32_t m_nListFileKey = 0;
};

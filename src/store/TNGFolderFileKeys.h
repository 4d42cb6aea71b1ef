#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

/// Keys of the locks of a folder's two cache files: the hashes of their full paths. And what
/// TNGDataGeneration looks at: it is counted on when another data file takes the place of the present one.
struct TNGFolderFileKeys {
    std::uint32_t m_nDataFileKey = 0;
    std::uint32_t m_nListFileKey = 0;
    std::shared_ptr<std::atomic<std::uint32_t>> m_pDataGeneration =
        std::make_shared<std::atomic<std::uint32_t>>(0);
};

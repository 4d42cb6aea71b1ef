#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

/// The two cache files of a folder: their bare names, and the keys of their locks, which are the hashes of
/// their full paths. And what TNGDataGeneration looks at: it is counted on when another data file takes the
/// place of the present one.
struct TNGFolderFiles {
    /// Delete a file under the write hold of its lock, for which they wait at most a second.
    bool DeleteDataFile() const;
    bool DeleteListFile() const;

    std::u16string m_strDataFileName;
    std::u16string m_strListFileName;
    std::uint32_t m_nDataFileKey = 0;
    std::uint32_t m_nListFileKey = 0;
    std::shared_ptr<std::atomic<std::uint32_t>> m_pDataGeneration =
        std::make_shared<std::atomic<std::uint32_t>>(0);
};

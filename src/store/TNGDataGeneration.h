#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

#include "store/TNGFolderFiles.h"

/// Says whether the data file of a folder is still the one that locations were read for: a compaction puts
/// another in its place, in which they lead to other pictures.
class TNGDataGeneration {
  public:
    TNGDataGeneration() = default;
    explicit TNGDataGeneration(const TNGFolderFiles& files)
        : m_pCounter(files.m_pDataGeneration), m_nSeen(m_pCounter->load()) {}

    /// To be asked when the file has been read, or under a lock that a compaction needs, too.
    bool IsCurrent() const { return m_pCounter && m_pCounter->load() == m_nSeen; }

    /// The same, and it is the data file of this folder.
    bool IsCurrentOf(const TNGFolderFiles& files) const {
        return m_pCounter == files.m_pDataGeneration && IsCurrent();
    }

  private:
    std::shared_ptr<std::atomic<std::uint32_t>> m_pCounter;
    std::uint32_t m_nSeen = 0;
};

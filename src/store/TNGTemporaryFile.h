#pragma once

#include <string>

/// A file of a new name beside those of the cache, deleted again unless it takes another's place.
class TNGTemporaryFile {
  public:
    TNGTemporaryFile() = default;
    ~TNGTemporaryFile();
    TNGTemporaryFile(const TNGTemporaryFile&) = delete;
    TNGTemporaryFile& operator=(const TNGTemporaryFile&) = delete;

    /// Makes a new, empty file in `folder`, in place of one made before; its path stays empty if that fails.
    void Make(const std::u16string& folder);

    bool IsMade() const { return !m_strPath.empty(); }
    const std::u16string& Path() const { return m_strPath; }

    /// Replaces `target` in one step.
    bool Replace(const std::u16string& target);

  private:
    std::u16string m_strPath;
};

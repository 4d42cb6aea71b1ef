#pragma once

#include <cstdint>
#include <filesystem>
#include <span>
#include <string>

namespace TestSupport {

/// A path as the libraries take it.
std::u16string TextOf(const std::filesystem::path& path);

/// The content of a file; empty if it cannot be read.
std::string ReadFile(const std::filesystem::path& path);

/// An empty folder, which goes with the object.
class TemporaryFolder {
  public:
    explicit TemporaryFolder(const std::filesystem::path& parent = std::filesystem::temp_directory_path());
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::filesystem::path& Path() const { return m_path; }
    std::filesystem::path operator/(const std::filesystem::path& name) const { return m_path / name; }

    /// Writes a file, the folders that lead to it included. Returns its path.
    std::u16string Add(const std::filesystem::path& name, std::span<const std::uint8_t> content = {}) const;

  private:
    std::filesystem::path m_path;
};

/// Another current folder, as long as the object is there.
class CurrentFolder {
  public:
    explicit CurrentFolder(const std::filesystem::path& folder) { std::filesystem::current_path(folder); }
    ~CurrentFolder() { std::filesystem::current_path(m_before); }
    CurrentFolder(const CurrentFolder&) = delete;
    CurrentFolder& operator=(const CurrentFolder&) = delete;

  private:
    std::filesystem::path m_before = std::filesystem::current_path();
};

}  // namespace TestSupport

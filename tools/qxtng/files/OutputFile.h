#pragma once

#include <string>
#include <string_view>

namespace Client {

/// A file that appears under its name when it is complete, and not before; until then it has another name
/// in the same folder. What stood under the name is replaced. Every operation throws a Failure if it fails.
/// One at a time, made and ended while no other thread runs.
class OutputFile {
  public:
    explicit OutputFile(const std::string& path);
    ~OutputFile();  // removes what was not committed
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    void Write(std::string_view bytes);

    /// Overwrites bytes that have been written. `offset` counts from the start of the file.
    void WriteAt(std::size_t offset, std::string_view bytes);

    void Commit();

  private:
    void Create();
    void CheckTarget() const;
    [[noreturn]] void Fail(int error) const;

    std::string m_path;
    std::string m_temporaryPath;
    int m_descriptor = -1;
};

/// From now on a signal that ends the program first removes the file that is not complete.
void RemoveUnfinishedFileOnSignal();

}  // namespace Client

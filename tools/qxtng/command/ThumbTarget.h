#pragma once

#include <map>
#include <optional>
#include <string>

#include "ThumbCommand.h"
#include "files/SourceFile.h"
#include "thumbnails/CompressedPicture.h"

namespace Client {

/// Where the thumbnails of a run go: one file, a folder, or standard output.
class ThumbTarget {
  public:
    /// Makes the folder, if it has to be made. Throws WrongUse if the files cannot all go there.
    explicit ThumbTarget(const ThumbOptions& options);

    bool IsStandardOutput() const { return m_kind == Kind::StandardOutput; }

    /// The format that is wanted; none if it is as the library gives it.
    std::optional<PictureFormat> WantedFormat() const;

    /// Writes the thumbnail of `file`. Throws a Failure instead of replacing one of the run's own files,
    /// those that it reads and those that it wrote.
    void Write(const std::string& file, ByteView thumbnail);

  private:
    enum class Kind { File, Folder, StandardOutput };

    void ProtectInputs(const std::vector<std::string>& files);
    std::string PathFor(const std::string& file, ByteView thumbnail) const;
    void WriteFile(const std::string& path, const std::string& file, ByteView thumbnail);

    std::string m_output;
    Kind m_kind;
    std::map<FileId, std::string> m_protected;  // and what each of them is
};

}  // namespace Client

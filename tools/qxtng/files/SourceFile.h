#pragma once

#include <sys/types.h>

#include <compare>
#include <optional>
#include <string>

namespace Client {

/// What a file is under all its names.
struct FileId {
    dev_t device;
    ino_t inode;
    auto operator<=>(const FileId&) const = default;
};

/// The file that a path leads to, links followed; none if there is no such file.
std::optional<FileId> FindFile(const std::string& path);

/// The path from the root, links and ".." as they are; an empty path stays empty.
std::string AbsolutePath(const std::string& path);

/// The same of a folder that exists. Ends with a separator; links are resolved only where ".." leads back
/// over one.
std::string AbsoluteFolder(const std::string& folder);

/// Throws a Failure that says what hinders: nothing there, a folder, no right to read. Only regular files
/// pass: opening anything else could block.
void CheckReadable(const std::string& path);

/// Throws a WrongUse if there is no such folder, and a Failure if that cannot be told. `what` the folder is
/// begins the message.
void RequireFolder(const std::string& path, const std::string& what = "folder");

bool IsEmptyFile(const std::string& path);

}  // namespace Client

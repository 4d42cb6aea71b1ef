#include "SourceFile.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>

#include "terminal/Messages.h"

namespace Client {

std::optional<FileId> FindFile(const std::string& path) {
    struct stat status {};
    if (stat(path.c_str(), &status) != 0) return std::nullopt;
    return FileId{status.st_dev, status.st_ino};
}

std::string AbsolutePath(const std::string& path) {
    if (path.empty()) return path;
    std::filesystem::path plain;
    for (const std::filesystem::path& name : std::filesystem::absolute(path)) {
        if (name != ".") plain /= name;
    }
    return plain;
}

std::string AbsoluteFolder(const std::string& folder) {
    const std::filesystem::path path = AbsolutePath(folder);
    const bool leadsBack = std::ranges::find(path, "..") != path.end();
    return (leadsBack ? std::filesystem::canonical(path) : path) / "";
}

void CheckReadable(const std::string& path) {
    struct stat status {};
    if (stat(path.c_str(), &status) != 0) throw Failure(std::strerror(errno));
    if (S_ISDIR(status.st_mode)) throw Failure("a folder; name the files in it, or use qxtng sheet");
    if (!S_ISREG(status.st_mode)) throw Failure("not a regular file");
    if (access(path.c_str(), R_OK) != 0) throw Failure(std::strerror(errno));
}

void RequireFolder(const std::string& path, const std::string& what) {
    struct stat status {};
    const int error = stat(path.c_str(), &status) == 0 ? 0 : errno;
    const std::string name = what + ' ' + DisplayableName(path);
    if (error == ENOENT) throw WrongUse(name + " does not exist");
    if (error == ENOTDIR || (error == 0 && !S_ISDIR(status.st_mode)))
        throw WrongUse(name + " is not a folder");
    if (error != 0) throw SystemFailure(name + " cannot be used", error);
}

bool IsEmptyFile(const std::string& path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 && status.st_size == 0;
}

}  // namespace Client

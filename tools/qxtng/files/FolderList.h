#pragma once

#include <string>
#include <vector>

namespace Client {

/// The pictures, audio and video files of a folder, by their extension. Hidden files and folders are left
/// out; links to folders are not followed.
struct FolderList {
    std::vector<std::string> files;  // paths relative to the folder, in natural order
    bool complete = true;            // false: some sub-folder could not be read
};

/// Reports sub-folders that cannot be read. Throws WrongUse if `folder` is no folder and a Failure if it
/// cannot be read.
FolderList ListFolder(const std::string& folder, bool recursive);

}  // namespace Client

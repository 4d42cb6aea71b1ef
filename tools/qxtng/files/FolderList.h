#pragma once

#include <string>
#include <vector>

namespace Client {

/// The pictures, audio and video files of a folder, by their extension: paths relative to the folder, in
/// natural order. Hidden files and folders are left out; links to folders are not followed. A sub-folder
/// that cannot be read is left out with a warning. Throws WrongUse if `folder` is no folder and a Failure if
/// it cannot be read.
std::vector<std::string> ListFolder(const std::string& folder, bool recursive);

}  // namespace Client

#pragma once

#include <cerrno>

/// Of the errno value of a file that could not be opened: true if it says nothing about the file, which may
/// be there and whole. No descriptor was left, or no memory, or there is no right to it. False for 0.
inline bool IsOutOfReach(int error) {
    return error != 0 && error != ENOENT && error != ENOTDIR && error != EISDIR;
}

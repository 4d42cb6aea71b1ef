#pragma once

#include <cstdint>

#include "Export.h"
#include "Time.h"

namespace Platform {

inline constexpr std::uint32_t FILE_ATTRIBUTE_READONLY = 0x1;
inline constexpr std::uint32_t FILE_ATTRIBUTE_DIRECTORY = 0x10;
inline constexpr std::uint32_t FILE_ATTRIBUTE_NORMAL = 0x80;

/// A directory entry: what the file system says of one path.
struct WIN32_FIND_DATAW {
    std::uint32_t dwFileAttributes = 0;  // FILE_ATTRIBUTE_...
    FILETIME ftCreationTime;             // birth of the file where the file system keeps it, else zero
    FILETIME ftLastAccessTime;
    FILETIME ftLastWriteTime;
    std::uint32_t nFileSizeHigh = 0;  // bytes, upper and lower half
    std::uint32_t nFileSizeLow = 0;
    std::uint32_t dwReserved0 = 0;
    std::uint32_t dwReserved1 = 0;
    char16_t cFileName[260] = {};  // the last name of the path, cut to 259 units
    char16_t cAlternateFileName[14] = {};
};

using HANDLE = void*;
inline const HANDLE INVALID_HANDLE_VALUE = reinterpret_cast<HANDLE>(-1);

/// Fills the entry of `pszPath`, taken literally: no character is a wild card. Symbolic links are
/// followed. INVALID_HANDLE_VALUE if there is nothing of that name, or it cannot be looked at.
QXPLATFORM_API HANDLE FindFirstFileW(const char16_t* pszPath, WIN32_FIND_DATAW* pFindData);

/// Ends a search. True for what FindFirstFileW() gave.
QXPLATFORM_API bool FindClose(HANDLE hFind);

/// True if the path names anything at all.
QXPLATFORM_API bool PathFileExistsW(const char16_t* pszPath);

}  // namespace Platform

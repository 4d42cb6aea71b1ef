#pragma once

#include <cstdint>

#include "Export.h"

namespace Platform {

inline constexpr std::uint32_t MAX_PATH = 260;  // UTF-16 units, the closing zero included

/// Deletes a file; not a directory. True on success.
QXPLATFORM_API bool DeleteFileW(const char16_t* pszPath);

/// Copies a file with its times, onto nothing or another regular file. A copy that fails leaves no part of it
/// behind. True on success.
QXPLATFORM_API bool CopyFileW(const char16_t* pszFrom, const char16_t* pszTo, bool bFailIfExists);

/// Gives a file another name, replacing what bears it in one step. 0 on success.
QXPLATFORM_API int _wrename(const char16_t* pszFrom, const char16_t* pszTo);

/// True if both paths lead to one file or folder.
QXPLATFORM_API bool IsSameFile(const char16_t* pszFirst, const char16_t* pszSecond);

/// Makes an empty file of a new name in `pszFolder` and writes its path to `pszPath`, which has room for
/// MAX_PATH units. The name begins with `pszPrefix`; `nUnique` is 0. Returns a number above 0, or 0 on
/// failure; `*pszPath` is then empty.
QXPLATFORM_API std::uint32_t GetTempFileNameW(const char16_t* pszFolder, const char16_t* pszPrefix,
                                              std::uint32_t nUnique, char16_t* pszPath);

}  // namespace Platform

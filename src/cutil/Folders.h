#pragma once

#include "Export.h"

namespace QxzCUtil {

/// What LocateFile() answers for a file that is there.
inline constexpr int kFileFound = 2;

/// Looks a file up in the directory known as `pszKey`. "CommonGraphicsDir" is the shared data folder of
/// this installation, <prefix>/share/qxtng, then qxtng under each folder of XDG_DATA_DIRS.
/// `pszFileName` begins with a separator. kFileFound and the whole path, or another result and null;
/// the caller releases the path with QXDealloc().
QXCUTIL_API int LocateFile(const char16_t* pszKey, const char16_t* pszFileName, char16_t** ppszPath);

/// The directory known as `pszKey`, without a separator at its end. "MyBinDir" is the folder of the library
/// or program that asks. `nFlags` is 0. `*ppszPath` stays as it is if there is none; else the caller
/// releases it with QXDealloc(). 0 on success.
QXCUTIL_API int RetrievePath(const char16_t* pszKey, char16_t** ppszPath, unsigned nFlags);

/// Releases a path of LocateFile() or RetrievePath().
QXCUTIL_API void QXDealloc(void* pPath);

}  // namespace QxzCUtil

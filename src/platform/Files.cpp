#include "Files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <iterator>
#include <string>

#include "Text.h"

namespace Platform {
namespace {

// A search is answered whole by FindFirstFileW(); the handle only says that it was.
char s_searchDone = 0;

FILETIME ToFileTime(const statx_timestamp& stamp) {
    return FileTimeFromTimespec({static_cast<time_t>(stamp.tv_sec), static_cast<long>(stamp.tv_nsec)});
}

std::uint32_t ToAttributes(const struct statx& status) {
    std::uint32_t attributes = S_ISDIR(status.stx_mode) ? FILE_ATTRIBUTE_DIRECTORY : 0;
    const bool writable = (status.stx_mode & (S_IWUSR | S_IWGRP | S_IWOTH)) != 0;
    if (!writable) attributes |= FILE_ATTRIBUTE_READONLY;
    return attributes != 0 ? attributes : FILE_ATTRIBUTE_NORMAL;
}

void CopyLastName(std::u16string_view path, char16_t (&out)[260]) {
    while (path.size() > 1 && path.back() == kPathSeparator)
        path.remove_suffix(1);
    const std::u16string_view name = path.substr(path.rfind(kPathSeparator) + 1);
    const std::size_t units = std::min(name.size(), std::size(out) - 1);
    std::copy_n(name.begin(), units, out);
}

}  // namespace

HANDLE FindFirstFileW(const char16_t* pszPath, WIN32_FIND_DATAW* pFindData) {
    struct statx status {};
    const std::string path = PathToBytes(pszPath);
    if (statx(AT_FDCWD, path.c_str(), AT_STATX_SYNC_AS_STAT, STATX_BASIC_STATS | STATX_BTIME, &status) != 0)
        return INVALID_HANDLE_VALUE;

    *pFindData = {};
    pFindData->dwFileAttributes = ToAttributes(status);
    if (status.stx_mask & STATX_BTIME) pFindData->ftCreationTime = ToFileTime(status.stx_btime);
    pFindData->ftLastAccessTime = ToFileTime(status.stx_atime);
    pFindData->ftLastWriteTime = ToFileTime(status.stx_mtime);
    pFindData->nFileSizeHigh = static_cast<std::uint32_t>(status.stx_size >> 32);
    pFindData->nFileSizeLow = static_cast<std::uint32_t>(status.stx_size);
    CopyLastName(pszPath, pFindData->cFileName);
    return &s_searchDone;
}

bool FindClose(HANDLE hFind) {
    return hFind == &s_searchDone;
}

bool PathFileExistsW(const char16_t* pszPath) {
    return *pszPath != 0 && faccessat(AT_FDCWD, PathToBytes(pszPath).c_str(), F_OK, AT_EACCESS) == 0;
}

}  // namespace Platform

#pragma once

#include <string>

/// Names of the two files of a cache folder that are not those of one source folder.
inline constexpr char16_t s_strDirectoryMapName[] = u"DirectoryMap.dat";
inline constexpr char16_t s_strDateTimeFileName[] = u"CacheUpdateInfo.txt";

/// The path of a file of the cache folder, by its bare name.
std::u16string CachePath(const std::u16string& name);

/// Leaves of a path what stands before its last separator. False, and the path as it was, if it has none.
bool CutToFolder(std::u16string& path);

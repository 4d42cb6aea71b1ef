#pragma once

#include <cstdint>
#include <string>

/// Deletes a cache file under the write hold of its lock, found by its key in the table of list files or
/// of data files. False if the lock was not had within `timeout` ms, or the file could not be deleted.
bool DeleteCacheFile(const std::u16string& path, std::uint32_t key, bool bListFile, std::uint32_t timeout);

/// The same without a lock.
bool DeleteCacheFileNoLock(const std::u16string& path);

/// Copies a cache file under the write hold of a lock, as DeleteCacheFile() does.
bool CopyCacheFile(const std::u16string& source, const std::u16string& target, std::uint32_t key,
                   bool bFailIfExists, bool bListFile, std::uint32_t timeout);

/// The same without a lock.
bool CopyCacheFileNoLock(const std::u16string& source, const std::u16string& target, bool bFailIfExists);

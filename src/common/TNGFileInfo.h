#pragma once

#include <cstdint>
#include <string>

#include "common/TNGShared.h"
#include "platform/Files.h"

/// The folder that holds the files of the cache; empty until a client sets it.
extern TNGSharedText s_strCacheFolder;

/// Largest number that a cache file's name can have.
inline constexpr int TNG_MAX_FILE_NUMBER = 9999;

/// Identity and naming of files. All operations may run on any thread.
class CTNGFileInfo {
  public:
    /// The hash of a text up to its first zero unit: h = h * 33 + unit, from 0, in 32 bits. It is part of
    /// the names of locks, so it never changes.
    static std::uint32_t GetHashCode(const std::u16string& text);

    /// The same as the decimal text of a signed number. `result` may be `text` itself.
    static void GetHashCode(const std::u16string& text, std::u16string& result);

    /// The first number from 1 on for which `folder` has no list file "N.dat"; 0 if there is none up to
    /// TNG_MAX_FILE_NUMBER. The caller keeps other threads from asking until the file exists.
    static int GetNewDBFilePathNumber(const std::u16string& folder);

    /// True if `path` names a file, or anything at all with `bAllowDirectory`. `pFindData` may be null; else
    /// it receives the entry of whatever is there, and is zeroed if nothing is; without a path it stays.
    static bool FindFileData(const char16_t* path, Platform::WIN32_FIND_DATAW* pFindData,
                             bool bAllowDirectory);

    /// True if `path` names a file, whose last write time `pTime` receives; else `pTime` stays.
    static bool GetFileLastWriteTime(const char16_t* path, Platform::FILETIME* pTime);

    /// Milliseconds since a reading of the performance counter; 0 for null.
    static std::int64_t GetElapsedMilliseconds(const std::int64_t* pStart);

    /// Appends a text that nobody else has.
    static void AppendUniqueString(std::u16string& text);

    /// `result` becomes folder, separator, file.
    static void BuildFilePath(std::u16string& result, const std::u16string& folder,
                              const std::u16string& file);
};

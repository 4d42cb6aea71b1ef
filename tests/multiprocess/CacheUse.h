#pragma once

#include <cstdint>
#include <string>

#include "database/TNGDBMgr.h"

/// What a program does with the cache: numbered pictures are added, looked up and deleted as the exports for
/// single entries do it. The caller has entered the cache, and the process has set folder and state.
namespace CacheUse {

CTNGDBMgr& DBMgr();
CTNGSharedDataMgr& SharedData();

/// Adds a picture whose thumbnail shows its number. It reaches the disk with a flush, at once in a new
/// folder.
bool Add(const std::u16string& path, int number);
bool Flush();

constexpr int kNone = -1;
constexpr int kTorn = -2;  // there is a record, yet not its thumbnail

/// The number that is found under a path.
int Look(const std::u16string& path);

std::uint32_t Delete(const std::u16string& path);
std::uint32_t DeleteFolder(const std::u16string& folder);

/// Large thumbnails of different numbers are of different lengths, so that none is taken for another's.
inline std::int32_t LengthOf(int number) {
    return 50 + 7 * number;
}

}  // namespace CacheUse

#pragma once

#include <atomic>
#include <memory>
#include <string>

#include "common/TNGShared.h"
#include "locks/TNGMutex.h"
#include "platform/Time.h"

/// The date-time file: 8 bytes by which the processes on a cache folder tell each other that it has changed.
/// Its format stands in docs/cache-format.md. Between processes the cache lock guards it, which every caller
/// of these functions has entered by.

/// Full path of the file; empty until the first database manager or cache folder.
extern TNGSharedText s_strDateTimeFilePath;

/// The lock of the file and of `s_ftCacheModified` among the threads of the process; null before the first
/// database manager.
extern TNGShared<std::shared_ptr<CTNGMutex>> s_pDateTimeMutex;

/// When this process last wrote the file; 0 at start.
extern std::atomic<Platform::FILETIME> s_ftCacheModified;

/// Sets up the path and the lock, if there are none yet.
void PrepareDateTimeFile();

/// Puts the path into `folder`.
void MoveDateTimeFile(const std::u16string& folder);

/// Writes the present time, or a later one if the file's own is not past yet, so that each change of the
/// cache bears a later time than the one before. To be called when a change has been written; and before,
/// too, by what may be killed at writing it.
void SetCacheModifiedTime();

/// False if the file has another time than this process last wrote, or has none. True if in doubt.
bool IsCacheSynchronized();

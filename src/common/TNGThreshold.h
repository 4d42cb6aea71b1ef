#pragma once

#include <atomic>
#include <cstdint>

#include "platform/Files.h"

/// File size in bytes from which a picture keeps an extra-large rendition.
extern std::atomic<std::uint32_t> s_dwThresholdFileSize;

/// True at or above the threshold, judged by the low 32 bits of the file's size.
bool IsLargeFile(const Platform::WIN32_FIND_DATAW& fileInfo);

#pragma once

#include <cstdint>

#include "Export.h"

namespace Platform {

inline constexpr std::uint32_t DRIVE_NO_ROOT_DIR = 1;
inline constexpr std::uint32_t DRIVE_REMOVABLE = 2;
inline constexpr std::uint32_t DRIVE_FIXED = 3;
inline constexpr std::uint32_t DRIVE_REMOTE = 4;

/// What kind of drive a folder is on: DRIVE_REMOTE for network file systems, DRIVE_REMOVABLE for devices
/// that say they are, DRIVE_FIXED for all others that are local, memory included. A folder that is missing
/// is judged by the nearest folder above it that exists; one of which the system tells nothing, though it may
/// be there, counts as DRIVE_FIXED. DRIVE_NO_ROOT_DIR if there is nothing at all.
QXPLATFORM_API std::uint32_t GetDriveTypeW(const char16_t* pszFolder);

}  // namespace Platform

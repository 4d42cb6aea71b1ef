#pragma once

#include <cstdint>

#include "Export.h"

namespace QxzCUtil {

/// What a file is by its extension, in any case: 1 a still picture that the image library reads, 2 audio,
/// 3 video, 0 anything else. The file need not exist.
QXCUTIL_API std::uint32_t GetAssetType(const char16_t* pszFilePath);

}  // namespace QxzCUtil

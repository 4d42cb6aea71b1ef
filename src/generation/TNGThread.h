#pragma once

#include <cstdint>
#include <string>

#include "common/TNGTypes.h"
#include "platform/Files.h"

/// The generation of thumbnails.
class CTNGThread {
  public:
    /// Makes one thumbnail on the caller's thread. `entry` is the directory entry of the file. `ppImage` or
    /// `ppBuffer` receives the result, whichever goes with the form; the other may be null. `*pResultSize`
    /// receives its size, or its length in bytes and 0.
    static std::uint32_t GenerateThumbnail(const std::u16string& path, const TNGSize& box, int eSourceMode,
                                           const Platform::WIN32_FIND_DATAW& entry, Gdiplus::Image** ppImage,
                                           std::uint8_t** ppBuffer, TNGSize* pResultSize,
                                           std::uint32_t eOutputForm, int* peOrigin, int* pbDefault);
};

#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "Bytes.h"
#include "api/QxTng.h"
#include "platform/graphics/Image.h"

/// The library's foreground calls. A call that fails or yields a default image ends the program.
namespace Bench {

std::unique_ptr<Gdiplus::Image> ThumbnailImage(const std::u16string& path, std::uint32_t box,
                                               TNGSourceMode mode);

/// The thumbnail as a JPEG or PNG file.
Bytes ThumbnailFile(const std::u16string& path, std::uint32_t box, TNGSourceMode mode);

}  // namespace Bench

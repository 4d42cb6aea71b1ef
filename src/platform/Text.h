#pragma once

#include <string>
#include <string_view>

#include "Export.h"

/// Text is UTF-16 everywhere; it becomes bytes, and bytes become text, only here.
namespace Platform {

/// Stands between the names of a path wherever one is split or built.
inline constexpr char16_t kPathSeparator = u'/';

/// Path text to the bytes that the kernel takes. The lone surrogates U+DC80..U+DCFF turn back into the
/// bytes 0x80..0xFF from which PathFromBytes() made them. Any other lone surrogate names no file that
/// could exist; it is written in three bytes as if it were a character.
QXPLATFORM_API std::string PathToBytes(std::u16string_view path);

/// Bytes of a path to text. A byte that is not part of valid UTF-8 becomes the lone surrogate
/// U+DC00 + byte, so that every name survives the way here and back.
QXPLATFORM_API std::u16string PathFromBytes(std::string_view bytes);

}  // namespace Platform

#pragma once

#include <string_view>

/// True if what follows the last dot of `path` is "png" in any case. A path without a dot is no PNG.
inline bool HasPngExtension(std::u16string_view path) {
    const std::size_t dot = path.rfind(u'.');
    if (dot == std::u16string_view::npos) return false;
    const std::u16string_view extension = path.substr(dot + 1);
    const auto isLetter = [&](std::size_t i, char16_t lower) { return (extension[i] | 0x20) == lower; };
    return extension.size() == 3 && isLetter(0, u'p') && isLetter(1, u'n') && isLetter(2, u'g');
}

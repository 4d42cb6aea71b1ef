#include "Text.h"

#include <cstddef>
#include <cstdint>

namespace Platform {
namespace {

constexpr char32_t kEscapeBase = 0xDC00;

bool IsHighSurrogate(char32_t unit) {
    return unit >= 0xD800 && unit <= 0xDBFF;
}
bool IsLowSurrogate(char32_t unit) {
    return unit >= 0xDC00 && unit <= 0xDFFF;
}
bool IsEscapedByte(char32_t unit) {
    return unit >= kEscapeBase + 0x80 && unit <= kEscapeBase + 0xFF;
}

void AppendUtf8(std::string& out, char32_t c) {
    if (c < 0x80) {
        out += static_cast<char>(c);
        return;
    }
    const int continuationBytes = c < 0x800 ? 1 : c < 0x10000 ? 2 : 3;
    static constexpr std::uint8_t kLeadMark[] = {0, 0xC0, 0xE0, 0xF0};
    out += static_cast<char>(kLeadMark[continuationBytes] | (c >> (6 * continuationBytes)));
    for (int i = continuationBytes - 1; i >= 0; --i)
        out += static_cast<char>(0x80 | ((c >> (6 * i)) & 0x3F));
}

struct Decoded {
    char32_t character = 0;
    std::size_t length = 0;  // bytes; 0 if no valid sequence starts here
};

Decoded DecodeUtf8(std::string_view bytes) {
    const auto byteAt = [&](std::size_t i) { return static_cast<std::uint8_t>(bytes[i]); };
    const std::uint8_t lead = byteAt(0);
    if (lead < 0x80) return {lead, 1};
    const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    if (lead < 0xC2 || lead > 0xF4 || bytes.size() < length) return {};
    char32_t c = lead & (0x7Fu >> length);
    for (std::size_t i = 1; i < length; ++i) {
        if ((byteAt(i) & 0xC0) != 0x80) return {};
        c = (c << 6) | (byteAt(i) & 0x3Fu);
    }
    static constexpr char32_t kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
    const bool surrogate = c >= 0xD800 && c <= 0xDFFF;
    if (c < kSmallest[length] || c > 0x10FFFF || surrogate) return {};
    return {c, length};
}

}  // namespace

std::string PathToBytes(std::u16string_view path) {
    std::string bytes;
    bytes.reserve(path.size() + path.size() / 2);
    for (std::size_t i = 0; i < path.size(); ++i) {
        char32_t c = path[i];
        if (IsHighSurrogate(c) && i + 1 < path.size() && IsLowSurrogate(path[i + 1])) {
            c = 0x10000 + ((c - 0xD800) << 10) + (path[i + 1] - 0xDC00u);
            ++i;
        } else if (IsEscapedByte(c)) {
            bytes += static_cast<char>(c - kEscapeBase);
            continue;
        }
        AppendUtf8(bytes, c);
    }
    return bytes;
}

std::u16string PathFromBytes(std::string_view bytes) {
    std::u16string path;
    path.reserve(bytes.size());
    while (!bytes.empty()) {
        const Decoded next = DecodeUtf8(bytes);
        if (next.length == 0) {
            path += static_cast<char16_t>(kEscapeBase + static_cast<std::uint8_t>(bytes[0]));
            bytes.remove_prefix(1);
            continue;
        }
        if (next.character >= 0x10000) {
            path += static_cast<char16_t>(0xD800 + ((next.character - 0x10000) >> 10));
            path += static_cast<char16_t>(0xDC00 + ((next.character - 0x10000) & 0x3FF));
        } else {
            path += static_cast<char16_t>(next.character);
        }
        bytes.remove_prefix(next.length);
    }
    return path;
}

}  // namespace Platform

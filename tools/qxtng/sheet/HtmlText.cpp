#include "HtmlText.h"

#include "terminal/Messages.h"

namespace Client {
namespace {

void AppendBase64(std::string& out, ByteView bytes) {
    static constexpr char kDigits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        const std::size_t count = std::min<std::size_t>(3, bytes.size() - i);
        unsigned group = 0;
        for (std::size_t k = 0; k < 3; ++k)
            group = group << 8 | (k < count ? bytes[i + k] : 0u);
        for (std::size_t k = 0; k < 4; ++k)
            out += k <= count ? kDigits[group >> (18 - 6 * k) & 63] : '=';
    }
}

bool IsPlainInReference(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
           std::string_view("-._~/").find(c) != std::string_view::npos;
}

}  // namespace

std::string ToHtml(std::string_view bytes) {
    std::string html;
    for (const char c : Displayable(bytes)) {
        switch (c) {
            case '&':
                html += "&amp;";
                break;
            case '<':
                html += "&lt;";
                break;
            case '>':
                html += "&gt;";
                break;
            case '"':
                html += "&quot;";
                break;
            default:
                html += c;
        }
    }
    return html;
}

std::string ToReference(std::string_view path) {
    static constexpr char kHexDigits[] = "0123456789ABCDEF";
    std::string reference;
    for (const char c : path) {
        const auto byte = static_cast<unsigned char>(c);
        if (IsPlainInReference(c)) {
            reference += c;
        } else {
            reference += {'%', kHexDigits[byte >> 4], kHexDigits[byte & 15]};
        }
    }
    return reference;
}

std::string ToDataUri(ByteView file) {
    std::string uri =
        FormatOf(file) == PictureFormat::Png ? "data:image/png;base64," : "data:image/jpeg;base64,";
    uri.reserve(uri.size() + (file.size() + 2) / 3 * 4);
    AppendBase64(uri, file);
    return uri;
}

}  // namespace Client

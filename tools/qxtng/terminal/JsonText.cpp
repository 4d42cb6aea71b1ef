#include "JsonText.h"

#include <cstdio>

#include "Messages.h"

namespace Client {

std::string JsonText(std::string_view bytes) {
    std::string text = "\"";
    std::string run;  // without control characters
    for (const char byte : bytes) {
        const auto value = static_cast<unsigned char>(byte);
        if (value >= 0x20 && value != 0x7F) {
            if (byte == '"' || byte == '\\') run += '\\';
            run += byte;
            continue;
        }
        char escape[8];
        std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned>(value));
        text += Displayable(run) + escape;
        run.clear();
    }
    return text + Displayable(run) + '"';
}

std::string JsonNumber(std::string_view name, std::uint64_t number) {
    return JsonText(name) + ':' + std::to_string(number);
}

}  // namespace Client

#include "Figures.h"

#include <cstdio>
#include <iterator>

namespace Client {

std::string ToText(std::size_t number) {
    std::string text = std::to_string(number);
    for (std::size_t i = text.size(); i > 3; i -= 3)
        text.insert(i - 3, 1, ',');
    return text;
}

std::string ToText(std::chrono::duration<double> time) {
    char text[48];
    const double seconds = time.count();
    const auto whole = static_cast<unsigned long>(seconds + 0.5);
    if (whole < 60) {
        std::snprintf(text, sizeof text, seconds < 10 ? "%.2f s" : "%.1f s", seconds);
    } else {
        std::snprintf(text, sizeof text, "%lu min %lu s", whole / 60, whole % 60);
    }
    return text;
}

std::string BytesToText(std::uint64_t bytes) {
    static constexpr const char* kUnits[] = {"bytes", "kB", "MB", "GB", "TB"};
    if (bytes < 1000) return Counted(bytes, "byte");
    std::size_t unit = 0;
    auto number = static_cast<double>(bytes);
    for (; number >= 1000 && unit + 1 < std::size(kUnits); ++unit)
        number /= 1000;
    char text[48];
    std::snprintf(text, sizeof text, number >= 100 ? "%.0f %s" : "%.1f %s", number, kUnits[unit]);
    return text;
}

std::string Counted(std::size_t number, const std::string& what) {
    return ToText(number) + ' ' + what + (number == 1 ? "" : "s");
}

}  // namespace Client

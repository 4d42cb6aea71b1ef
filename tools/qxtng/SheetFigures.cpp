#include "SheetFigures.h"

#include <cstdio>
#include <numeric>

namespace Client {

std::size_t SheetFigures::Files() const {
    return std::accumulate(tiles.begin(), tiles.end(), std::size_t{0});
}

double SheetFigures::FilesPerSecond() const {
    return time.count() > 0 ? static_cast<double>(Files()) / time.count() : 0;
}

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

}  // namespace Client

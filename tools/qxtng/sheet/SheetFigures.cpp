#include "SheetFigures.h"

#include <numeric>

namespace Client {

std::size_t SheetFigures::Files() const {
    return std::accumulate(tiles.begin(), tiles.end(), std::size_t{0});
}

double SheetFigures::FilesPerSecond() const {
    return time.count() > 0 ? static_cast<double>(Files()) / time.count() : 0;
}

}  // namespace Client

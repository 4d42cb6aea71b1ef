#pragma once

#include <array>
#include <chrono>
#include <cstddef>

#include "SheetTile.h"

namespace Client {

/// What a sheet amounts to once all is done.
struct SheetFigures {
    std::array<std::size_t, kTileKinds> tiles{};  // by TileKind
    std::chrono::duration<double> time{};

    void Count(TileKind kind) { ++tiles[static_cast<std::size_t>(kind)]; }
    std::size_t Of(TileKind kind) const { return tiles[static_cast<std::size_t>(kind)]; }
    std::size_t Files() const;
    std::size_t Cached() const { return Of(TileKind::Cached); }
    std::size_t Failed() const { return Of(TileKind::Failed); }
    double FilesPerSecond() const;
};

}  // namespace Client

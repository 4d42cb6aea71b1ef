#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "common/TNGTypes.h"
#include "thumbnails/WorkerPool.h"

namespace Client {

/// What all pictures of a sheet have in common.
struct SheetSource {
    std::string folder;     // absolute
    std::string reference;  // the folder as seen from the page
    TNGSize box;
    TNGSourceMode mode;
};

/// Where the thumbnail of a tile came from. One class of the style sheet each; see NameOf().
enum class TileKind { Embedded, Decoded, Cached, Default, Failed };
inline constexpr std::size_t kTileKinds = 5;

std::string_view NameOf(TileKind kind);

/// One picture of the page.
struct Tile {
    TileKind kind;
    std::string html;
    std::string failure;  // why there is no thumbnail; empty if there is one
};

/// Makes the tile of `file`, a path relative to the folder. A picture that fails gets one as well.
Tile MakeTile(const SheetSource& source, const std::string& file, const JobResult& result);

}  // namespace Client

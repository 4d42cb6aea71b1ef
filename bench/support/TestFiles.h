#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "BareCodecs.h"
#include "support/TemporaryFolder.h"

namespace Bench {

using TestSupport::TemporaryFolder;

/// A picture file to measure with.
struct TestFile {
    std::filesystem::path path;
    std::u16string text;  // the path as the libraries take it
    std::string name;     // for the table
    Bytes bytes;          // the whole file
    FileKind kind;
    PictureSize size;
};

TestFile ReadTestFile(const std::filesystem::path& path);

/// A synthetic photograph as a baseline JPEG with an embedded thumbnail.
TestFile MakePhotograph(const TemporaryFolder& folder);

/// A progressive one, without a thumbnail inside.
TestFile MakeProgressivePhotograph(const TemporaryFolder& folder);

/// The same in other ways to write it: progressive JPEG, PNG without and with alpha, WebP.
std::vector<TestFile> MakeMorePhotographs(const TemporaryFolder& folder);

/// And in formats that hold less, or that nobody keeps photographs in: GIF, TIFF, BMP.
std::vector<TestFile> MakeOtherFormats(const TemporaryFolder& folder);

/// The size of a picture fitted into a square box: it keeps its shape and is never enlarged.
PictureSize FittedInto(PictureSize size, std::uint32_t box);

}  // namespace Bench

#include "TestFiles.h"

#include <algorithm>
#include <cmath>

#include "RowWriters.h"
#include "SyntheticPhoto.h"
#include "support/PictureFiles.h"
#include "support/PictureWriter.h"

namespace Bench {
namespace {

using TestSupport::Raster;

constexpr std::uint32_t kWidth = 4000;
constexpr std::uint32_t kHeight = 3000;
constexpr std::uint8_t kExifMarker = 0xE1;

PictureSize SizeOf(FileKind kind, const std::filesystem::path& path, const Bytes& bytes) {
    switch (kind) {
        case FileKind::Jpeg:
            return SizeOfJpeg(bytes);
        case FileKind::Png:
            return SizeOfPng(bytes);
        case FileKind::Webp:
            return SizeOfWebp(bytes);
        case FileKind::Gif:
            return SizeOfGif(bytes);
        case FileKind::Tiff:
            return SizeOfTiff(path);
        case FileKind::Bmp:
            return SizeOfBmp(bytes);
        case FileKind::Other:
            break;
    }
    Require(false, path.string() + " is no picture of a known format");
    return {};
}

Bytes PhotoJpeg(const Raster& raster, TestSupport::JpegScans scans = TestSupport::JpegScans::Baseline) {
    return TestSupport::MakeJpeg(raster, {.horizontal = 2, .vertical = 2, .scans = scans, .quality = 90});
}

Bytes FastPng(const Raster& raster) {
    return WriteToMemory([&](std::FILE* pFile) { WritePng(pFile, SourceOf(raster)); });
}

// In black, white and the pure colours between them, as fine dots.
Raster Dotted(Raster raster) {
    std::uint32_t random = 1;
    for (std::uint8_t& sample : raster.pixels) {
        random = random * 1664525u + 1013904223u;
        sample = sample > random >> 24 ? 255 : 0;
    }
    return raster;
}

TestFile Add(const TemporaryFolder& folder, const char* pszName, const Bytes& bytes) {
    folder.Add(pszName, bytes);
    return ReadTestFile(folder / pszName);
}

}  // namespace

TestFile ReadTestFile(const std::filesystem::path& path) {
    Bytes bytes = ReadWholeFile(path);
    const FileKind kind = KindOf(bytes);
    const PictureSize size = SizeOf(kind, path, bytes);
    const std::filesystem::path absolute = std::filesystem::absolute(path);
    return {absolute, TestSupport::TextOf(absolute), path.filename().string(), std::move(bytes), kind, size};
}

TestFile MakePhotograph(const TemporaryFolder& folder) {
    const Bytes thumbnail = PhotoJpeg(MakeSyntheticPhoto(160, 120));
    const Bytes photo = PhotoJpeg(MakeSyntheticPhoto(kWidth, kHeight));
    const Bytes exif = TestSupport::MakeExif(thumbnail);
    return Add(folder, "baseline.jpg", TestSupport::WithSegment(photo, kExifMarker, exif));
}

TestFile MakeProgressivePhotograph(const TemporaryFolder& folder) {
    return Add(folder, "progressive.jpg",
               PhotoJpeg(MakeSyntheticPhoto(kWidth, kHeight), TestSupport::JpegScans::Progressive));
}

std::vector<TestFile> MakeMorePhotographs(const TemporaryFolder& folder) {
    const Raster photo = MakeSyntheticPhoto(kWidth, kHeight);
    const Raster cutOut = MakeSyntheticPhoto(kWidth, kHeight, 4);
    return {Add(folder, "progressive.jpg", PhotoJpeg(photo, TestSupport::JpegScans::Progressive)),
            Add(folder, "rgb.png", FastPng(photo)), Add(folder, "alpha.png", FastPng(cutOut)),
            Add(folder, "lossy.webp", TestSupport::MakeWebp(photo, false))};
}

std::vector<TestFile> MakeOtherFormats(const TemporaryFolder& folder) {
    constexpr std::uint16_t kLzw = 5;
    const Raster photo = MakeSyntheticPhoto(kWidth, kHeight);
    return {Add(folder, "dots.gif", TestSupport::MakeGif(Dotted(photo), {})),
            Add(folder, "strips.tif", TestSupport::MakeTiff(photo, {.compression = kLzw})),
            Add(folder, "rows.bmp", TestSupport::MakeBmp(photo, {}))};
}

PictureSize FittedInto(PictureSize size, std::uint32_t box) {
    const double scale =
        std::min({1.0, static_cast<double>(box) / size.nWidth, static_cast<double>(box) / size.nHeight});
    const auto scaled = [scale](std::uint32_t side) {
        return std::max(1u, static_cast<std::uint32_t>(std::lround(side * scale)));
    };
    return {scaled(size.nWidth), scaled(size.nHeight)};
}

}  // namespace Bench

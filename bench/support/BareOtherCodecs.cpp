#include <gif_lib.h>
#include <tiffio.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <memory>

#include "BareCodecs.h"

namespace Bench {
namespace {

struct MemoryReader {
    const Bytes& file;
    std::size_t nPosition = 0;
};

int ReadFromMemory(GifFileType* pGif, GifByteType* pOut, int nBytes) {
    auto& reader = *static_cast<MemoryReader*>(pGif->UserData);
    const std::size_t count =
        std::min(static_cast<std::size_t>(nBytes), reader.file.size() - reader.nPosition);
    std::memcpy(pOut, reader.file.data() + reader.nPosition, count);
    reader.nPosition += count;
    return static_cast<int>(count);
}

using Tiff = std::unique_ptr<TIFF, decltype(&TIFFClose)>;

Tiff OpenTiff(const std::filesystem::path& path) {
    Tiff tiff(TIFFOpen(path.c_str(), "r"), TIFFClose);
    Require(tiff != nullptr, "not a TIFF file");
    return tiff;
}

// A little-endian number of two bytes.
std::uint32_t NumberAt(const Bytes& file, std::size_t offset) {
    Require(file.size() >= offset + 2, "a file without a header");
    return file[offset] + 256u * file[offset + 1];
}

}  // namespace

void DecodeGifBare(const Bytes& file) {
    MemoryReader reader{file};
    int error = 0;
    GifFileType* pGif = DGifOpen(&reader, ReadFromMemory, &error);
    Require(pGif != nullptr && DGifSlurp(pGif) == GIF_OK, "damaged GIF file");
    DGifCloseFile(pGif, &error);
}

void DecodeTiffBare(const std::filesystem::path& path) {
    const Tiff tiff = OpenTiff(path);
    Bytes strip(static_cast<std::size_t>(TIFFStripSize(tiff.get())));
    for (std::uint32_t i = 0; i < TIFFNumberOfStrips(tiff.get()); ++i)
        Require(TIFFReadEncodedStrip(tiff.get(), i, strip.data(), -1) >= 0, "damaged TIFF file");
}

void DecodeBmpBare(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    char piece[65536];
    while (file.read(piece, sizeof piece)) {
    }
}

PictureSize SizeOfGif(const Bytes& file) {
    return {NumberAt(file, 6), NumberAt(file, 8)};
}

PictureSize SizeOfBmp(const Bytes& file) {
    return {NumberAt(file, 18), NumberAt(file, 22)};
}

PictureSize SizeOfTiff(const std::filesystem::path& path) {
    const Tiff tiff = OpenTiff(path);
    PictureSize size{};
    TIFFGetField(tiff.get(), TIFFTAG_IMAGEWIDTH, &size.nWidth);
    TIFFGetField(tiff.get(), TIFFTAG_IMAGELENGTH, &size.nHeight);
    return size;
}

}  // namespace Bench

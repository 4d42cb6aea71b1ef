// Writes tiny JPEGs of every kind that the decoder of reduced pictures knows, and of some that it does not:
// make_jpeg_seeds FOLDER
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

#include "support/PictureWriter.h"

namespace {

using namespace TestSupport;

const JpegKind kKinds[] = {
    {},
    {.horizontal = 2},
    {.vertical = 2},
    {.horizontal = 2, .vertical = 2},
    {.horizontal = 4},
    {.horizontal = 4, .vertical = 2},
    {.horizontal = 3, .vertical = 2},
    {.horizontal = 2, .vertical = 2, .extended = true},
    {.restHorizontal = 2, .restVertical = 2},
    {.colours = JpegColours::Rgb},
    {.colours = JpegColours::Grey},
    {.colours = JpegColours::AdobeYcck},
    {.scans = JpegScans::SeparateBaseline},
    {.horizontal = 2, .vertical = 2, .scans = JpegScans::SeparateBaseline},
    {.scans = JpegScans::Progressive},
    {.horizontal = 2, .vertical = 2, .scans = JpegScans::Progressive},
    {.horizontal = 2, .vertical = 2, .scans = JpegScans::SeparateDc},
    {.vertical = 2, .scans = JpegScans::LateDc},
    {.colours = JpegColours::Grey, .scans = JpegScans::Progressive},
};

Raster Noise(std::uint32_t nWidth, std::uint32_t nHeight, unsigned strength) {
    Raster picture(nWidth, nHeight, 3);
    std::uint32_t random = 1;
    for (std::uint8_t& sample : picture.pixels) {
        random = random * 1664525u + 1013904223u;
        sample = static_cast<std::uint8_t>(128 + (random >> 24) * strength / 256 - strength / 2);
    }
    return picture;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) return 1;
    std::filesystem::create_directories(argv[1]);
    int nFiles = 0;
    for (JpegKind kind : kKinds) {
        for (const unsigned restarts : {0u, 1u, 2u}) {
            for (const int quality : {5, 60, 100}) {
                kind.restartInterval = restarts;
                kind.quality = quality;
                kind.optimised = nFiles % 2 != 0;
                const Bytes file = MakeJpeg(Noise(17 + restarts * 8, 33, quality == 60 ? 30 : 255), kind);
                std::ofstream out(std::filesystem::path(argv[1]) / (std::to_string(nFiles++) + ".jpg"),
                                  std::ios::binary);
                out.write(reinterpret_cast<const char*>(file.data()),
                          static_cast<std::streamsize>(file.size()));
                if (!out) return 1;
            }
        }
    }
    return 0;
}

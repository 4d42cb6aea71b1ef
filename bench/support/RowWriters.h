#pragma once

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <functional>

#include "Bytes.h"
#include "support/Raster.h"

/// Writes picture files row by row, so that a file can hold more than memory should.
namespace Bench {

struct PictureSource {
    std::uint32_t nWidth;
    std::uint32_t nHeight;
    unsigned nChannels;
    std::function<void(std::uint32_t y, std::uint8_t* pRow)> fillRow;  // B, G, R or B, G, R, A
};

/// Refers to the raster, which must stay.
PictureSource SourceOf(const TestSupport::Raster& raster);

/// Chroma halved in both directions. The source has three channels.
enum class JpegProcess { Baseline, Progressive };
void WriteJpeg(std::FILE* pFile, const PictureSource& source, int nQuality,
               JpegProcess process = JpegProcess::Baseline);

/// With zlib's fastest level: the time of writing is not what is measured.
void WritePng(std::FILE* pFile, const PictureSource& source);

/// Runs a writer on a new file, or on a block of memory.
void WriteToFile(const std::filesystem::path& path, const std::function<void(std::FILE*)>& write);
Bytes WriteToMemory(const std::function<void(std::FILE*)>& write);

}  // namespace Bench

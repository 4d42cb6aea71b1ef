#pragma once

#include "Bytes.h"
#include "support/Raster.h"

/// The codecs on their own, as their manuals show them and with their default settings: what any program
/// that decodes these files has to spend. Damaged files end the program.
namespace Bench {

struct PictureSize {
    std::uint32_t nWidth;
    std::uint32_t nHeight;
};

/// Decodes a JPEG at `eighths` / 8 of its size and throws the rows away.
void DecodeJpegBare(const Bytes& file, unsigned eighths);

/// Decodes row by row as 24 or 32 bits and throws the rows away.
void DecodePngBare(const Bytes& file);

/// Decodes to the given size.
void DecodeWebpBare(const Bytes& file, PictureSize size);

/// Decodes to palette entries.
void DecodeGifBare(const Bytes& file);

/// Decodes strip by strip to the samples that are stored, and throws them away.
void DecodeTiffBare(const std::filesystem::path& path);

/// Reads the file in pieces: there is nothing to decode.
void DecodeBmpBare(const std::filesystem::path& path);

PictureSize SizeOfJpeg(const Bytes& file);
bool IsProgressiveJpeg(const Bytes& file);
PictureSize SizeOfPng(const Bytes& file);
PictureSize SizeOfWebp(const Bytes& file);
PictureSize SizeOfGif(const Bytes& file);
PictureSize SizeOfTiff(const std::filesystem::path& path);
PictureSize SizeOfBmp(const Bytes& file);

/// The whole picture of a JPEG, PNG or WebP file.
TestSupport::Raster DecodeWhole(const Bytes& file);

}  // namespace Bench

#include "CompressedPicture.h"

#include <algorithm>

namespace Client {
namespace {

std::uint32_t ReadBigEndian(ByteView file, std::size_t offset, std::size_t bytes) {
    std::uint32_t number = 0;
    for (std::size_t i = 0; i < bytes; ++i)
        number = number << 8 | file[offset + i];
    return number;
}

TNGSize SizeOfPng(ByteView file) {
    constexpr std::size_t kWidth = 16, kHeight = 20, kEnd = 24;  // within the header chunk, the first
    if (file.size() < kEnd) return {0, 0};
    return {ReadBigEndian(file, kWidth, 4), ReadBigEndian(file, kHeight, 4)};
}

/// True for the markers of a frame header, SOF0 to SOF15; three of the range are something else.
bool IsFrameHeader(unsigned marker) {
    return marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC;
}

TNGSize SizeOfJpeg(ByteView file) {
    constexpr std::size_t kStartMarker = 2, kFrameHeader = 9;  // bytes
    std::size_t at = kStartMarker;
    while (at + kFrameHeader <= file.size() && file[at] == 0xFF) {
        if (IsFrameHeader(file[at + 1]))
            return {ReadBigEndian(file, at + 7, 2), ReadBigEndian(file, at + 5, 2)};
        at += 2 + ReadBigEndian(file, at + 2, 2);
    }
    return {0, 0};
}

}  // namespace

PictureFormat FormatOf(ByteView file) {
    static constexpr unsigned char kPngSignature[] = {0x89, 'P', 'N', 'G'};
    const bool png = file.size() >= sizeof kPngSignature &&
                     std::equal(std::begin(kPngSignature), std::end(kPngSignature), file.begin());
    return png ? PictureFormat::Png : PictureFormat::Jpeg;
}

TNGSize SizeOf(ByteView file) {
    return FormatOf(file) == PictureFormat::Png ? SizeOfPng(file) : SizeOfJpeg(file);
}

}  // namespace Client

#include "CodedPicture.h"

#include <cstdlib>

#include "PictureWriter.h"

namespace TestSupport {
namespace {

constexpr std::uint32_t kSide = 4;  // fields; the last ones hold the check sum
constexpr unsigned kNumberBits = 24;
constexpr int kDarkest = 32;
constexpr int kStep = 64;
constexpr int kTolerance = 24;

std::uint32_t WithCheckSum(std::uint32_t number) {
    number &= (1u << kNumberBits) - 1;
    return number | number * 2654435761u >> kNumberBits << kNumberBits;
}

// The mean of the middle of a field.
int GreyOfField(const Raster& picture, std::uint32_t column, std::uint32_t row) {
    const auto from = [](std::uint32_t i, std::uint32_t length) {
        return (4 * i + 1) * length / (4 * kSide);
    };
    const auto to = [](std::uint32_t i, std::uint32_t length) { return (4 * i + 3) * length / (4 * kSide); };
    int sum = 0;
    int count = 0;
    for (std::uint32_t y = from(row, picture.nHeight); y < to(row, picture.nHeight); ++y) {
        for (std::uint32_t x = from(column, picture.nWidth); x < to(column, picture.nWidth); ++x, ++count)
            sum += picture.Row(y)[x * picture.nChannels + 1];
    }
    return count == 0 ? 0 : sum / count;
}

}  // namespace

Raster CodedPicture(std::uint32_t number, std::uint32_t nWidth, std::uint32_t nHeight) {
    const std::uint32_t code = WithCheckSum(number);
    Raster picture(nWidth, nHeight, 3);
    for (std::uint32_t y = 0; y < nHeight; ++y) {
        for (std::uint32_t x = 0; x < nWidth * 3; ++x) {
            const std::uint32_t field = y * kSide / nHeight * kSide + x / 3 * kSide / nWidth;
            picture.Row(y)[x] =
                static_cast<std::uint8_t>(kDarkest + kStep * static_cast<int>(code >> 2 * field & 3));
        }
    }
    return picture;
}

Bytes MakeCodedJpeg(std::uint32_t number, std::uint32_t nWidth, std::uint32_t nHeight) {
    return MakeJpeg(CodedPicture(number, nWidth, nHeight));
}

std::int64_t NumberShownBy(const Raster& picture) {
    std::uint32_t code = 0;
    for (std::uint32_t field = 0; field < kSide * kSide; ++field) {
        const int grey = GreyOfField(picture, field % kSide, field / kSide) - kDarkest + kStep / 2;
        if (grey < 0 || grey >= 4 * kStep || std::abs(grey % kStep - kStep / 2) > kTolerance) return -1;
        code |= static_cast<std::uint32_t>(grey / kStep) << 2 * field;
    }
    const std::uint32_t number = code & ((1u << kNumberBits) - 1);
    return WithCheckSum(number) == code ? number : -1;
}

}  // namespace TestSupport

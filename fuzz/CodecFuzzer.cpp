// Any bytes as a picture: header, reduced decode, whole decode, embedded thumbnail.
#include <zlib.h>

#include <algorithm>
#include <cstdlib>
#include <new>
#include <vector>

#include "iml/ByteSource.h"
#include "iml/Codec.h"
#include "iml/Picture.h"
#include "iml/RowSink.h"
#include "platform/graphics/Image.h"

namespace {

constexpr const Codec& kCodec = FUZZED_CODEC;

// Larger ones take time without finding more.
constexpr std::uint64_t kMostPixelsReduced = 1u << 19;
constexpr std::uint64_t kMostPixelsWhole = 1u << 17;

std::uint32_t ReadBigEndian(const std::uint8_t* p) {
    return std::uint32_t{p[0]} << 24 | std::uint32_t{p[1]} << 16 | std::uint32_t{p[2]} << 8 | p[3];
}

// Makes the checksums of the chunks of a PNG right, which chance never would.
void RepairPngChecksums(std::vector<std::uint8_t>& bytes) {
    constexpr std::size_t kSignature = 8;
    if (bytes.size() < kSignature || bytes[0] != 0x89) return;
    for (std::size_t at = kSignature; bytes.size() - at >= 12;) {
        const std::size_t length = ReadBigEndian(&bytes[at]);
        if (length > bytes.size() - at - 12) return;
        const auto crc = static_cast<std::uint32_t>(crc32(0, &bytes[at + 4], static_cast<uInt>(length + 4)));
        for (std::size_t i = 0; i < 4; ++i)
            bytes[at + 8 + length + i] = static_cast<std::uint8_t>(crc >> (24 - 8 * i));
        at += length + 12;
    }
}

void Decode(MemorySource& source, const PictureInfo& info, std::uint32_t width, std::uint32_t height) {
    RowSink sink(width, height, info.alpha ? Gdiplus::PixelFormat32bppARGB : Gdiplus::PixelFormat24bppRGB);
    const bool bWhole = kCodec.decode(source, info, sink);
    const auto pBitmap = sink.Finish();
    if (bWhole && !pBitmap) std::abort();
    if (!pBitmap) return;
    const std::uint32_t expected = width != 0 ? width : info.width;
    if (pBitmap->GetWidth() != expected) std::abort();
}

void Read(const std::vector<std::uint8_t>& bytes) {
    MemorySource source(bytes);
    PictureInfo info;
    if (!kCodec.recognise(std::span(bytes).first(std::min(bytes.size(), kSignatureBytes)))) return;
    if (kCodec.readInfo(source, info)) {
        if (info.width == 0 || info.height == 0) std::abort();
        const std::uint64_t pixels = std::uint64_t{info.width} * info.height;
        if (pixels <= kMostPixelsReduced) Decode(source, info, 160, 120);
        if (pixels <= kMostPixelsWhole) Decode(source, info, 0, 0);
    }
    ByteRange range;
    if (!kCodec.findThumbnail || !kCodec.findThumbnail(source, range)) return;
    SubSource inside(source, range.offset, range.size);
    Picture thumbnail(inside);
    if (!thumbnail.IsGood()) return;
    if (std::uint64_t{thumbnail.Info().width} * thumbnail.Info().height <= kMostPixelsWhole)
        thumbnail.Decode(0, 0);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t nSize) {
    std::vector<std::uint8_t> bytes(pData, pData + nSize);
    RepairPngChecksums(bytes);
    try {
        Read(bytes);
    } catch (const std::bad_alloc&) {
        return 0;
    }
    return 0;
}

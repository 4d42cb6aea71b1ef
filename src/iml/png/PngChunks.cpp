#include "PngChunks.h"

#include <algorithm>
#include <iterator>
#include <string_view>

namespace {

constexpr std::uint64_t kSignatureSize = 8;
constexpr std::uint64_t kChunkFrame = 12;  // length, type and checksum
constexpr int kMaxChunks = 10'000;         // before the image data

constexpr std::string_view kNeeded[] = {"IHDR", "PLTE", "tRNS"};

}  // namespace

std::optional<std::uint64_t> FindPictureChunks(ByteSource& source, RangesSource& chunks) {
    chunks.Append(0, kSignatureSize);
    std::uint64_t offset = kSignatureSize;
    for (int i = 0; i < kMaxChunks; ++i) {
        std::uint8_t header[8];
        if (!source.ReadAllAt(offset, header, sizeof header)) return std::nullopt;
        const std::string_view type(reinterpret_cast<const char*>(header) + 4, 4);
        if (type == "IDAT") {
            chunks.Append(offset, source.Size());
            return offset;
        }
        const std::uint32_t length = std::uint32_t{header[0]} << 24 | std::uint32_t{header[1]} << 16 |
                                     std::uint32_t{header[2]} << 8 | header[3];
        const std::uint64_t next = std::min(offset + kChunkFrame + length, source.Size());
        if (std::ranges::find(kNeeded, type) != std::end(kNeeded)) chunks.Append(offset, next);
        offset = next;
    }
    return std::nullopt;
}

#include "BmpHeader.h"

#include <algorithm>

#include "iml/Limits.h"
#include "iml/PlausibleSize.h"

namespace {

constexpr std::size_t kFileHeader = 14;
constexpr std::size_t kCoreHeader = 12;   // of OS/2: 16-bit sizes, colours of three bytes
constexpr std::size_t kInfoHeader = 40;   // the fields that all later versions begin with
constexpr std::size_t kAllMasksEnd = 56;  // headers of this size or more hold a fourth mask, of alpha
constexpr std::size_t kLargestHeader = 124;

// Both headers and the masks that may follow them. What the file does not have is zero.
class HeaderBytes {
  public:
    explicit HeaderBytes(ByteSource& source) { m_nRead = source.ReadAt(0, m_bytes.data(), m_bytes.size()); }

    bool Has(std::size_t nBytes) const { return nBytes <= m_nRead; }
    std::uint32_t Word(std::size_t nAt) const {
        return m_bytes[nAt] | static_cast<std::uint32_t>(m_bytes[nAt + 1]) << 8;
    }
    std::uint32_t Long(std::size_t nAt) const { return Word(nAt) | Word(nAt + 2) << 16; }

  private:
    std::array<std::uint8_t, kFileHeader + kLargestHeader + 16> m_bytes{};
    std::size_t m_nRead = 0;
};

bool ReadSize(const HeaderBytes& bytes, std::size_t nHeader, BmpHeader& header) {
    if (nHeader == kCoreHeader) {
        header.width = bytes.Word(18);
        header.height = bytes.Word(20);
        header.bits = bytes.Word(24);
        return IsAcceptableSize(header.width, header.height);
    }
    const std::int64_t width = static_cast<std::int32_t>(bytes.Long(18));
    const std::int64_t height = static_cast<std::int32_t>(bytes.Long(22));
    if (width <= 0 || height == 0) return false;
    header.topDown = height < 0;
    header.width = static_cast<std::uint32_t>(width);
    header.height = static_cast<std::uint32_t>(height < 0 ? -height : height);
    header.bits = bytes.Word(28);
    header.compression = static_cast<BmpCompression>(bytes.Long(30));
    return IsAcceptableSize(header.width, header.height);
}

bool IsKnownKind(const BmpHeader& header) {
    const unsigned bits = header.bits;
    switch (header.compression) {
        case BmpCompression::kNone:
            return bits == 1 || bits == 4 || bits == 8 || bits == 16 || bits == 24 || bits == 32;
        case BmpCompression::kRle8:
            return bits == 8;
        case BmpCompression::kRle4:
            return bits == 4;
        case BmpCompression::kMasks:
        case BmpCompression::kMasksWithAlpha:
            return bits == 16 || bits == 32;
    }
    return false;
}

// Returns where the headers and masks end.
std::size_t ReadMasks(const HeaderBytes& bytes, std::size_t nHeader, BmpHeader& header) {
    const std::size_t nEnd = kFileHeader + nHeader;
    const bool alphaFollows = header.compression == BmpCompression::kMasksWithAlpha;
    if (header.compression != BmpCompression::kMasks && !alphaFollows) {
        if (header.bits == 16) header.masks = {0x1F, 0x3E0, 0x7C00, 0};
        if (header.bits == 32) header.masks = {0xFF, 0xFF00, 0xFF0000, 0};
        return nEnd;
    }
    // In a header that holds them, and behind one that does not, they stand at the same place.
    constexpr std::size_t kMasks = kFileHeader + kInfoHeader;
    for (std::size_t i = 0; i < 3; ++i)
        header.masks[2 - i] = bytes.Long(kMasks + 4 * i);
    if (alphaFollows || nHeader >= kAllMasksEnd) header.masks[3] = bytes.Long(kMasks + 12);
    if (header.bits == 16) {
        for (std::uint32_t& mask : header.masks)
            mask &= 0xFFFF;
    }
    return std::max(nEnd, kMasks + (alphaFollows ? 16 : 12));
}

void ReadPalette(ByteSource& source, std::uint64_t nOffset, std::size_t nColours, std::size_t nEntry,
                 BmpHeader& header) {
    std::array<std::uint8_t, 256 * 4> bytes;
    const std::size_t nRead = source.ReadAt(nOffset, bytes.data(), nColours * nEntry) / nEntry;
    for (std::size_t i = 0; i < nRead; ++i) {
        const std::uint8_t* pEntry = bytes.data() + i * nEntry;
        header.palette[i] = {pEntry[0], pEntry[1], pEntry[2]};
    }
}

}  // namespace

bool ReadBmpHeader(ByteSource& source, BmpHeader& header) {
    const HeaderBytes bytes(source);
    const std::size_t nHeader = bytes.Long(14);
    const bool core = nHeader == kCoreHeader;
    if ((!core && nHeader < kInfoHeader) || nHeader > kLargestHeader || !bytes.Has(kFileHeader + nHeader))
        return false;
    header = {};
    if (!ReadSize(bytes, nHeader, header) || !IsKnownKind(header)) return false;
    if (!IsPlausibleSize(std::uint64_t{header.width} * header.height, source.Size())) return false;
    const std::size_t nEnd = ReadMasks(bytes, nHeader, header);

    std::uint64_t nPaletteEnd = nEnd;
    if (header.bits <= 8) {
        const std::size_t nMost = std::size_t{1} << header.bits;
        const std::size_t nStated = core ? 0 : bytes.Long(46);
        const std::size_t nEntry = core ? 3 : 4;
        std::size_t nColours = nStated == 0 ? nMost : std::min(nStated, nMost);
        // Writers that leave out colours do not always say so.
        const std::uint64_t nPixels = bytes.Long(10);
        if (nPixels > nEnd) nColours = std::min(nColours, static_cast<std::size_t>(nPixels - nEnd) / nEntry);
        ReadPalette(source, nEnd, nColours, nEntry, header);
        nPaletteEnd += nColours * nEntry;
    }
    header.pixelOffset = bytes.Long(10) < nEnd ? nPaletteEnd : bytes.Long(10);
    return header.pixelOffset < source.Size();
}

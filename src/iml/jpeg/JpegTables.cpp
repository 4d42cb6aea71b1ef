#include "JpegTables.h"

#include <algorithm>
#include <string_view>
#include <vector>

namespace {

// The longest segments that anybody has a reason to write: all tables there are.
constexpr std::uint32_t kMostBytes = 8 * (17 + 256);

bool BeginsWith(std::span<const std::uint8_t> bytes, std::string_view text) {
    return bytes.size() >= text.size() &&
           std::equal(text.begin(), text.end(), bytes.begin(),
                      [](char c, std::uint8_t b) { return static_cast<std::uint8_t>(c) == b; });
}

}  // namespace

const JpegTables::Quantiser* JpegTables::FindQuantiser(std::size_t nIndex) const {
    return nIndex < m_quantisers.size() && m_quantiserDefined[nIndex] ? &m_quantisers[nIndex] : nullptr;
}

const JpegHuffmanCode* JpegTables::Find(const Codes& codes, std::size_t nIndex) {
    return nIndex < codes.size() && !codes[nIndex].symbols.empty() ? &codes[nIndex] : nullptr;
}

bool JpegTables::Read(ByteSource& source, const JpegSegment& segment) {
    const bool application = segment.marker >= kJpegApp0 && segment.marker <= kJpegApp15;
    if (!application && segment.size > kMostBytes) return segment.marker == kJpegCom;
    if (application && segment.marker != kJpegApp0 && segment.marker != kJpegApp14) return true;
    std::vector<std::uint8_t> bytes(std::min(segment.size, kMostBytes));
    if (!source.ReadAllAt(segment.offset, bytes.data(), bytes.size())) return false;
    switch (segment.marker) {
        case kJpegDht:
            return ReadCodes(bytes);
        case kJpegDqt:
            return ReadQuantisers(bytes);
        case kJpegDri:
            if (bytes.size() != 2) return false;
            m_nRestartInterval = static_cast<std::uint32_t>(bytes[0] << 8 | bytes[1]);
            return true;
        case kJpegCom:
            return true;
        default:
            return application && ReadApplication(segment.marker, bytes);
    }
}

bool JpegTables::ReadApplication(std::uint8_t marker, std::span<const std::uint8_t> bytes) {
    if (marker == kJpegApp0) {
        m_hasJfif = m_hasJfif || (bytes.size() >= 14 && BeginsWith(bytes, {"JFIF\0", 5}));
    } else if (bytes.size() >= 12 && BeginsWith(bytes, "Adobe")) {
        m_nAdobeTransform = bytes[11];
    }
    return true;
}

bool JpegTables::ReadQuantisers(std::span<const std::uint8_t> bytes) {
    while (!bytes.empty()) {
        const std::size_t nIndex = bytes[0] & 15;
        const std::size_t nWidth = bytes[0] >> 4 == 0 ? 1 : 2;
        if (nIndex > 3 || bytes[0] >> 4 > 1 || bytes.size() < 1 + 64 * nWidth) return false;
        Quantiser quantiser;
        for (std::size_t i = 0; i < 64; ++i) {
            const std::uint8_t* p = &bytes[1 + nWidth * i];
            quantiser[i] = static_cast<std::uint16_t>(nWidth == 1 ? p[0] : p[0] << 8 | p[1]);
        }
        if (m_quantiserDefined[nIndex] && m_quantisers[nIndex] != quantiser) return false;
        m_quantisers[nIndex] = quantiser;
        m_quantiserDefined[nIndex] = true;
        bytes = bytes.subspan(1 + 64 * nWidth);
    }
    return true;
}

bool JpegTables::ReadCodes(std::span<const std::uint8_t> bytes) {
    while (!bytes.empty()) {
        const std::size_t nIndex = bytes[0] & 15;
        const bool forAc = bytes[0] >> 4 == 1;
        if (nIndex > 3 || bytes[0] >> 4 > 1 || bytes.size() < 17) return false;
        JpegHuffmanCode code;
        std::copy_n(bytes.begin() + 1, code.counts.size(), code.counts.begin());
        std::size_t nSymbols = 0;
        for (const std::uint8_t nCount : code.counts)
            nSymbols += nCount;
        if (nSymbols > bytes.size() - 17) return false;
        const auto symbols = bytes.subspan(17, nSymbols);
        code.symbols.assign(symbols.begin(), symbols.end());
        // A DC symbol is a number of bits.
        const auto isTooLarge = [](std::uint8_t symbol) { return symbol > 15; };
        if (!code.IsGood() || (!forAc && std::ranges::any_of(symbols, isTooLarge))) return false;
        (forAc ? m_acCodes : m_dcCodes)[nIndex] = std::move(code);
        bytes = bytes.subspan(17 + nSymbols);
    }
    return true;
}

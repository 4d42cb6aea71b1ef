#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <memory>

#include "BmpHeader.h"
#include "BmpRunLength.h"
#include "iml/Codec.h"
#include "iml/SequentialReader.h"

namespace {

/// One colour in a pixel of 16 or 32 bits.
class Channel {
  public:
    explicit Channel(std::uint32_t nMask) : m_nMask(nMask) {
        if (nMask == 0) return;
        const int nWidth = 32 - std::countl_zero(nMask) - std::countr_zero(nMask);
        m_nShift = std::countr_zero(nMask) + std::max(nWidth - 8, 0);  // eight bits are all that show
        const unsigned nMost = nMask >> m_nShift;
        for (unsigned value = 0; value <= nMost; ++value)
            m_table[value] = static_cast<std::uint8_t>((value * 255 + nMost / 2) / nMost);
    }

    std::uint8_t Of(std::uint32_t nPixel) const { return m_table[(nPixel & m_nMask) >> m_nShift]; }

  private:
    std::uint32_t m_nMask;
    int m_nShift = 0;
    std::array<std::uint8_t, 256> m_table{};
};

/// Turns stored rows into B, G, R, or B, G, R, A.
class RowConverter {
  public:
    explicit RowConverter(const BmpHeader& header)
        : m_header(header),
          m_channels{Channel(header.masks[0]), Channel(header.masks[1]), Channel(header.masks[2]),
                     Channel(header.masks[3])} {}

    void Convert(const std::uint8_t* pStored, std::uint8_t* pOut) const {
        if (m_header.bits == 24) {
            std::memcpy(pOut, pStored, m_header.RowBytes());
        } else if (m_header.bits <= 8) {
            ConvertIndices(pStored, m_header.bits, pOut);
        } else if (m_header.bits == 16) {
            ConvertMasked<2>(pStored, pOut);
        } else {
            ConvertMasked<4>(pStored, pOut);
        }
    }

    void ConvertIndices(const std::uint8_t* pStored, unsigned bits, std::uint8_t* pOut) const {
        const unsigned nMask = (1u << bits) - 1;
        for (std::size_t x = 0; x < m_header.width; ++x, pOut += 3) {
            const auto nShift = static_cast<unsigned>(8 - bits - x * bits % 8);
            std::memcpy(pOut, m_header.palette[(pStored[x * bits / 8] >> nShift) & nMask].data(), 3);
        }
    }

  private:
    template <std::size_t kStored>
    void ConvertMasked(const std::uint8_t* pStored, std::uint8_t* pOut) const {
        const bool alpha = m_header.HasAlpha();
        for (std::size_t x = 0; x < m_header.width; ++x, pStored += kStored) {
            std::uint32_t nPixel = pStored[0] | static_cast<std::uint32_t>(pStored[1]) << 8;
            if (kStored == 4) nPixel |= (pStored[2] | static_cast<std::uint32_t>(pStored[3]) << 8) << 16;
            for (std::size_t i = 0; i < 3; ++i)
                *pOut++ = m_channels[i].Of(nPixel);
            if (alpha) *pOut++ = m_channels[3].Of(nPixel);
        }
    }

    const BmpHeader& m_header;
    std::array<Channel, 4> m_channels;
};

bool DecodeRunLength(ByteSource& source, const BmpHeader& header, std::uint8_t* pRow, RowSink& sink) {
    const RowConverter converter(header);
    BmpRunLength rows(source, header);
    while (sink.RowsTaken() < header.height) {
        const std::uint8_t* pIndices = rows.NextRow();
        if (pIndices == nullptr) return false;
        converter.ConvertIndices(pIndices, 8, pRow);
        sink.AddRow(pRow);
    }
    return true;
}

bool DecodeStored(ByteSource& source, const BmpHeader& header, std::uint8_t* pRow, RowSink& sink) {
    const RowConverter converter(header);
    SequentialReader reader(source, header.pixelOffset);
    const auto pStored = std::make_unique_for_overwrite<std::uint8_t[]>(header.Stride());
    while (sink.RowsTaken() < header.height) {
        // Behind the last row, some writers leave out what fills it up.
        if (reader.Read(pStored.get(), header.Stride()) < header.RowBytes()) return false;
        converter.Convert(pStored.get(), pRow);
        sink.AddRow(pRow);
    }
    return true;
}

bool RecogniseBmp(std::span<const std::uint8_t> head) {
    // "BM" begins many a text: the size of the second header tells.
    return head.size() >= 16 && head[0] == 'B' && head[1] == 'M' && head[15] == 0 &&
           (head[14] == 12 || (head[14] >= 40 && head[14] <= 124));
}

bool ReadBmpInfo(ByteSource& source, PictureInfo& info) {
    BmpHeader header;
    if (!ReadBmpHeader(source, header)) return false;
    info = {header.width, header.height, header.HasAlpha()};
    return true;
}

bool DecodeBmp(ByteSource& source, const PictureInfo& info, RowSink& sink) {
    BmpHeader header;
    if (!ReadBmpHeader(source, header) || header.width != info.width || header.height != info.height ||
        header.HasAlpha() != info.alpha)
        return false;
    if (!header.IsRunLength() && source.Size() - header.pixelOffset < header.RowBytes()) return false;

    RowShape shape;
    shape.width = info.width;
    shape.height = info.height;
    shape.format = info.alpha ? Gdiplus::PixelFormat32bppARGB : Gdiplus::PixelFormat24bppRGB;
    shape.bottomUp = !header.topDown;
    sink.Begin(shape);
    const auto pRow = std::make_unique_for_overwrite<std::uint8_t[]>(std::size_t{info.width} *
                                                                     Gdiplus::BytesPerPixel(shape.format));
    return header.IsRunLength() ? DecodeRunLength(source, header, pRow.get(), sink)
                                : DecodeStored(source, header, pRow.get(), sink);
}

}  // namespace

const Codec kBmpCodec = {RecogniseBmp, ReadBmpInfo, DecodeBmp, nullptr};

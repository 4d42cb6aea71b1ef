#include <algorithm>
#include <vector>

#include "PngReader.h"
#include "PngRows.h"
#include "iml/Codec.h"
#include "iml/Limits.h"

namespace {

constexpr std::uint64_t kKeptPerByte = 64;  // bytes of rows that a byte of an interlaced file may bring

bool Recognise(std::span<const std::uint8_t> head) {
    static constexpr std::uint8_t kSignature[] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
    return head.size() >= sizeof kSignature && std::ranges::equal(head.first(sizeof kSignature), kSignature);
}

bool ReadInfo(ByteSource& source, PictureInfo& info) {
    return PngReader(source).ReadHeader(info);
}

bool DecodeInOrder(PngReader& reader, std::uint32_t height, RowSink& sink) {
    std::vector<std::uint8_t> row(reader.RowBytes());
    for (std::uint32_t y = 0; y < height; ++y) {
        if (!reader.ReadRow(row.data(), nullptr)) return false;
        sink.AddRow(row.data());
    }
    return true;
}

// Adam7: after six passes the even rows are complete, and the seventh brings the odd ones in order. So half
// of the picture is kept, row by row as it comes. Rows are read for display, which fills what has not come
// with its neighbours: a picture that ends early is shown coarse.
class InterlacedRows {
  public:
    InterlacedRows(PngReader& reader, std::uint32_t height)
        : m_reader(reader), m_height(height), m_oddRow(reader.RowBytes()) {}

    bool ReadEvenRows() {
        for (int pass = 0; pass < kPasses - 1; ++pass) {
            for (std::uint32_t y = 0; y < m_height; ++y) {
                const bool bEven = y % 2 == 0;
                if (bEven && pass == 0) m_evenRows.emplace_back(m_reader.RowBytes());
                if (m_reader.ReadRow(nullptr, bEven ? EvenRow(y) : m_oddRow.data())) continue;
                if (bEven && pass == 0) m_evenRows.pop_back();  // nothing has come of this one
                return false;
            }
        }
        return true;
    }

    bool Deliver(bool bLastPass, RowSink& sink) {
        for (std::uint32_t y = 0; y < m_height && y / 2 < m_evenRows.size(); ++y) {
            std::uint8_t* pRow = y % 2 == 0 || !bLastPass ? EvenRow(y) : m_oddRow.data();
            if (bLastPass && !m_reader.ReadRow(nullptr, pRow)) bLastPass = false;
            if (!bLastPass) pRow = EvenRow(y);
            sink.AddRow(pRow);
        }
        return bLastPass;
    }

  private:
    static constexpr int kPasses = 7;

    std::uint8_t* EvenRow(std::uint32_t y) { return m_evenRows[y / 2].data(); }

    PngReader& m_reader;
    std::uint32_t m_height;
    std::vector<std::uint8_t> m_oddRow;
    std::vector<std::vector<std::uint8_t>> m_evenRows;
};

bool Decode(ByteSource& source, const PictureInfo& info, RowSink& sink) {
    PngReader reader(source);
    PictureInfo header;
    if (!reader.ReadHeader(header) || header.alpha != info.alpha) return false;
    RowShape shape;
    shape.width = header.width;
    shape.height = header.height;
    if (header.alpha) shape.format = Gdiplus::PixelFormat32bppARGB;
    const PngPixels pixels = reader.Pixels();
    if (pixels.IsKnown() && DecodePngRows(source, reader.ImageData(), pixels, shape, sink)) return true;
    if (!reader.StartRows()) return false;
    sink.Begin(shape);
    if (!reader.IsInterlaced()) return DecodeInOrder(reader, header.height, sink);
    const std::uint64_t keptBytes = (std::uint64_t{header.height} + 1) / 2 * reader.RowBytes();
    if (!IsWorthKeeping(keptBytes, source.Size(), kKeptPerByte)) return false;
    InterlacedRows rows(reader, header.height);
    const bool complete = rows.ReadEvenRows();
    return rows.Deliver(complete, sink);
}

}  // namespace

const Codec kPngCodec = {Recognise, ReadInfo, Decode, nullptr};

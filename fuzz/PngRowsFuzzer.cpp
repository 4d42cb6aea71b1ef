// A PNG around any scanlines, or around any compressed data: what the decoder of rows takes, libpng
// must show alike, and it must take what has nothing unusual.
#include <zlib.h>

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <new>
#include <string_view>
#include <vector>

#include "iml/ByteSource.h"
#include "iml/png/PngReader.h"
#include "iml/png/PngRows.h"
#include "platform/graphics/Image.h"

namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::size_t kMostBytes = 1u << 18;  // of scanlines

void AppendBigEndian(Bytes& bytes, std::size_t value) {
    for (unsigned shift = 32; shift > 0; shift -= 8)
        bytes.push_back(static_cast<std::uint8_t>(value >> (shift - 8)));
}

void AppendChunk(Bytes& file, std::string_view type, const std::uint8_t* pData, std::size_t nBytes) {
    AppendBigEndian(file, nBytes);
    const std::size_t nStart = file.size();
    file.insert(file.end(), type.begin(), type.end());
    file.insert(file.end(), pData, pData + nBytes);
    AppendBigEndian(file, crc32(0, &file[nStart], static_cast<uInt>(nBytes + 4)));
}

// What zlib makes of data without header and checksum, which lose what is behind their end; nothing if they
// are damaged or have no end.
Bytes Inflated(Bytes& data) {
    Bytes out(kMostBytes);
    z_stream stream{};
    inflateInit2(&stream, -15);
    stream.next_in = data.data();
    stream.avail_in = static_cast<uInt>(data.size());
    stream.next_out = out.data();
    stream.avail_out = static_cast<uInt>(out.size());
    const bool bWhole = inflate(&stream, Z_FINISH) == Z_STREAM_END;
    if (bWhole) data.resize(stream.total_in);
    out.resize(bWhole ? stream.total_out : 0);
    inflateEnd(&stream);
    return out;
}

Bytes Deflated(const Bytes& data) {
    Bytes out(compressBound(static_cast<uLong>(data.size())));
    uLongf nSize = out.size();
    compress2(out.data(), &nSize, data.data(), static_cast<uLong>(data.size()), 1);
    out.resize(nSize);
    return out;
}

struct Kind {
    std::uint8_t colourType, bits, channels;
};
constexpr Kind kKinds[] = {{0, 1, 1}, {0, 2, 1},  {0, 4, 1},  {0, 8, 1}, {0, 16, 1},
                           {2, 8, 3}, {2, 16, 3}, {3, 1, 1},  {3, 2, 1}, {3, 4, 1},
                           {3, 8, 1}, {4, 8, 2},  {4, 16, 2}, {6, 8, 4}, {6, 16, 4}};

// Signature, header, palette, transparency.
Bytes Head(const Kind& kind, std::size_t nWidth, std::size_t nHeight, bool bTransparency) {
    Bytes file = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
    Bytes header;
    AppendBigEndian(header, nWidth);
    AppendBigEndian(header, nHeight);
    header.insert(header.end(), {kind.bits, kind.colourType, 0, 0, 0});
    AppendChunk(file, "IHDR", header.data(), header.size());
    const std::uint8_t colours[] = {1, 2, 3, 40, 50, 60, 7, 8, 9, 210, 211, 212},
                       alphas[] = {0, 1, 0, 2, 0, 3};
    if (kind.colourType == 3) AppendChunk(file, "PLTE", colours, kind.bits == 1 ? 6 : 12);
    if (bTransparency && kind.colourType < 4) AppendChunk(file, "tRNS", alphas, kind.colourType == 2 ? 6 : 2);
    return file;
}

struct Decoded {
    bool known = false;
    bool complete = false;
    std::uint32_t nRows = 0;
    Bytes pixels;
};

Bytes PixelsOf(RowSink& sink, Gdiplus::PixelFormat format) {
    Bytes pixels;
    const auto pBitmap = sink.Finish();
    if (!pBitmap) return pixels;
    Gdiplus::BitmapData data;
    if (pBitmap->LockBits(nullptr, Gdiplus::ImageLockModeRead, format, &data) != Gdiplus::Ok) std::abort();
    for (std::uint32_t y = 0; y < data.Height; ++y) {
        const auto* pRow =
            static_cast<const std::uint8_t*>(data.Scan0) + static_cast<std::ptrdiff_t>(y) * data.Stride;
        pixels.insert(pixels.end(), pRow, pRow + std::size_t{data.Width} * Gdiplus::BytesPerPixel(format));
    }
    pBitmap->UnlockBits(&data);
    return pixels;
}

Decoded Decode(const Bytes& file, bool bByLibpng) {
    MemorySource source(file);
    PngReader reader(source);
    PictureInfo info;
    if (!reader.ReadHeader(info)) std::abort();
    const PngPixels pixels = reader.Pixels();
    RowShape shape;
    shape.width = info.width;
    shape.height = info.height;
    if (info.alpha) shape.format = Gdiplus::PixelFormat32bppARGB;
    RowSink sink(0, 0, shape.format);
    if (!bByLibpng) {
        if (pixels.IsKnown()) DecodePngRows(source, reader.ImageData(), pixels, shape, sink);
    } else if (reader.StartRows()) {
        sink.Begin(shape);
        Bytes row(reader.RowBytes());
        while (sink.RowsTaken() < shape.height && reader.ReadRow(row.data(), nullptr))
            sink.AddRow(row.data());
    }
    Decoded decoded{pixels.IsKnown(), sink.RowsTaken() == shape.height, sink.RowsTaken(), {}};
    decoded.pixels = PixelsOf(sink, shape.format);
    return decoded;
}

// The first bytes tell what to make of the rest.
void Read(const std::uint8_t* pData, std::size_t nSize) {
    if (nSize < 4) return;
    const Kind& kind = kKinds[pData[0] % std::size(kKinds)];
    const std::size_t nWidth = pData[1] + 1u;
    const std::size_t nChunk = std::size_t{1} << (pData[2] & 15);
    const bool bCompressed = (pData[2] & 16) != 0;
    const std::size_t nScanline = 1 + (nWidth * kind.channels * kind.bits + 7) / 8;

    Bytes content(pData + 3, pData + nSize);
    const Bytes scanlines = bCompressed ? Inflated(content) : content;
    Bytes data = bCompressed ? Bytes{0x78, 0x01} : Deflated(content);
    if (bCompressed) {
        data.insert(data.end(), content.begin(), content.end());
        AppendBigEndian(data, adler32(1, scanlines.data(), static_cast<uInt>(scanlines.size())));
    }
    const std::size_t nHeight = std::max<std::size_t>(scanlines.size() / nScanline, 1);
    Bytes file = Head(kind, nWidth, nHeight, (pData[2] & 32) != 0);
    for (std::size_t nAt = 0; nAt < data.size(); nAt += nChunk)
        AppendChunk(file, "IDAT", &data[nAt], std::min(nChunk, data.size() - nAt));

    const Decoded rows = Decode(file, false);
    const Decoded libpng = Decode(file, true);
    if (rows.complete ? !libpng.complete || rows.pixels != libpng.pixels : rows.nRows != 0) std::abort();
    const bool bOrdinary = rows.known && libpng.complete && scanlines.size() % nScanline == 0;
    if (bOrdinary && !bCompressed && !rows.complete) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t nSize) {
    try {
        Read(pData, nSize);
    } catch (const std::bad_alloc&) {
        return 0;
    }
    return 0;
}

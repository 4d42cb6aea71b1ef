// The decoder of PNG rows against libpng.
#include "iml/png/PngRows.h"

#include <gtest/gtest.h>
#include <png.h>
#include <zlib.h>

#include <algorithm>
#include <random>
#include <string_view>

#include "Decode.h"
#include "iml/png/PngReader.h"
#include "support/PictureWriter.h"

namespace {

using namespace TestSupport;

std::mt19937 s_random(7);

struct Decoded {
    bool complete = false;
    std::uint32_t nRows = 0;
    Raster picture;
};

enum class By { Rows, Libpng, Codec };

bool DecodeByLibpng(PngReader& reader, const RowShape& shape, RowSink& sink) {
    if (!reader.StartRows()) return false;
    sink.Begin(shape);
    Bytes row(reader.RowBytes());
    while (sink.RowsTaken() < shape.height && reader.ReadRow(row.data(), nullptr))
        sink.AddRow(row.data());
    return sink.RowsTaken() == shape.height;
}

Decoded Decode(const Bytes& file, By by) {
    MemorySource source(file);
    PngReader reader(source);
    PictureInfo info;
    Decoded decoded;
    if (!reader.ReadHeader(info)) return decoded;
    const PngPixels pixels = reader.Pixels();
    const auto format = info.alpha ? Gdiplus::PixelFormat32bppARGB : Gdiplus::PixelFormat24bppRGB;
    const RowShape shape = {.width = info.width, .height = info.height, .format = format};
    RowSink sink(0, 0, format);
    decoded.complete =
        by == By::Rows ? pixels.IsKnown() && DecodePngRows(source, reader.ImageData(), pixels, shape, sink)
        : by == By::Libpng ? DecodeByLibpng(reader, shape, sink)
                           : kPngCodec.decode(source, info, sink);
    decoded.nRows = sink.RowsTaken();
    decoded.picture = RasterOf(sink.Finish().get());
    return decoded;
}

// What the rows are not sure of must be what libpng makes of it, whatever had gone to the sink before.
bool IsTaken(const Bytes& file) {
    const Decoded rows = Decode(file, By::Rows);
    const Decoded libpng = Decode(file, By::Libpng);
    const Decoded codec = Decode(file, By::Codec);
    EXPECT_EQ(rows.nRows, rows.complete ? libpng.nRows : 0);
    EXPECT_EQ(codec.complete, libpng.complete);
    EXPECT_EQ(codec.nRows, libpng.nRows);
    EXPECT_EQ(codec.picture.pixels, libpng.picture.pixels);
    return rows.complete;
}

Bytes Joined(std::initializer_list<Bytes> parts) {
    Bytes all;
    for (const Bytes& part : parts)
        all.insert(all.end(), part.begin(), part.end());
    return all;
}

Bytes Compressed(Bytes data, int nWindowBits = 15) {
    Bytes out(data.size() + 1000);
    z_stream stream{};
    deflateInit2(&stream, 6, Z_DEFLATED, nWindowBits, 8, Z_DEFAULT_STRATEGY);
    stream.next_in = data.data();
    stream.avail_in = static_cast<uInt>(data.size());
    stream.next_out = out.data();
    stream.avail_out = static_cast<uInt>(out.size());
    deflate(&stream, Z_FINISH);
    out.resize(stream.total_out);
    deflateEnd(&stream);
    return out;
}

Bytes Chunk(const Bytes& data) {
    return MakePngChunk("IDAT", data);
}

// Signature, header, palette and transparency.
Bytes Head(const PngKind& kind, std::uint32_t nWidth, std::uint32_t nHeight) {
    const Bytes file = MakePng(Raster(nWidth, nHeight, 4), kind);
    const std::string_view type = "IDAT";
    return Bytes(file.begin(), std::search(file.begin(), file.end(), type.begin(), type.end()) - 4);
}

// Noise behind the filter, or behind each filter in turn.
Bytes Scanlines(const PngKind& kind, std::uint32_t nWidth, std::uint32_t nHeight, unsigned nFilter = 5) {
    constexpr unsigned kChannels[] = {1, 0, 3, 1, 2, 0, 4};
    const unsigned nBits = nWidth * kChannels[kind.colourType] * static_cast<unsigned>(kind.bits);
    Bytes scanlines;
    for (std::uint32_t y = 0; y < nHeight; ++y) {
        scanlines.push_back(static_cast<std::uint8_t>(nFilter < 5 ? nFilter : y % 5));
        std::generate_n(std::back_inserter(scanlines), (nBits + 7) / 8,
                        [] { return static_cast<std::uint8_t>(s_random()); });
    }
    return scanlines;
}

// 16 bits, and a colour of three channels that is transparent, do not go together with everything.
bool IsForLibpng(const PngKind& kind) {
    return kind.bits == 16 ? kind.transparency || kind.colourType == PNG_COLOR_TYPE_GRAY_ALPHA
                           : kind.transparency && kind.colourType == PNG_COLOR_TYPE_RGB;
}

TEST(PngRows, MakesOfEveryKindWhatLibpngDoes) {
    const std::pair<int, int> kinds[] = {{0, 1}, {0, 2}, {0, 4}, {0, 8}, {0, 16}, {2, 8}, {2, 16},
                                         {3, 1}, {3, 4}, {3, 8}, {4, 8}, {4, 16}, {6, 8}, {6, 16}};
    for (const auto& [type, bits] : kinds) {
        for (unsigned i = 0; i < 70 * 6; ++i) {
            const unsigned width = i / 6 + 1, filter = i % 6;
            const PngKind kind = {.colourType = type,
                                  .bits = bits,
                                  .transparency = type < PNG_COLOR_MASK_ALPHA && width % 2 != 0};
            SCOPED_TRACE(testing::Message() << "type " << type << ", " << bits << " bits, transparency "
                                            << kind.transparency << ", filter " << filter << ", " << width);
            const Bytes data = Compressed(Scanlines(kind, width, 9, filter));
            ASSERT_EQ(IsTaken(Joined({Head(kind, width, 9), Chunk(data)})), !IsForLibpng(kind));
        }
    }
}

Bytes Patched(Bytes bytes, std::size_t nFromEnd, std::uint8_t change) {
    bytes[bytes.size() - nFromEnd] ^= change;
    return bytes;
}

TEST(PngRows, LeavesToLibpngWhatIsUnusual) {
    constexpr std::uint32_t kWidth = 60, kHeight = 40;
    constexpr std::size_t kScanline = 1 + 3 * kWidth;
    const Bytes scanlines = Scanlines({}, kWidth, kHeight);
    const Bytes data = Compressed(scanlines), half = CutOff(data, 3000),
                rest(data.begin() + 3000, data.end());
    const auto started = [&](std::uint8_t first, std::uint8_t second) {
        return Chunk(Joined({{first, second}, Bytes(data.begin() + 2, data.end())}));
    };
    Bytes single;
    for (const std::uint8_t byte : data)
        single = Joined({std::move(single), Chunk({byte})});
    const struct {
        const char* pszName;
        Bytes chunks;
        bool taken = false;
    } cases[] = {
        {"a byte each", single, true},
        {"empty chunks", Joined({Chunk({}), Chunk(half), Chunk({}), Chunk(rest), Chunk({})}), true},
        {"a small window", Chunk(Compressed(scanlines, 9)), true},
        {"a little behind the data", Chunk(Joined({data, Bytes(9)})), true},
        {"much behind the data", Chunk(Joined({data, Bytes(100'000)}))},
        {"another chunk between", Joined({Chunk(half), MakePngChunk("tEXt", {'a', 0}), Chunk(rest)})},
        {"wrong checksum of the chunk", Patched(Chunk(data), 1, 1)},
        {"wrong checksum of an empty chunk", Joined({Patched(Chunk({}), 1, 1), Chunk(data)})},
        {"wrong checksum of the data", Chunk(Patched(data, 1, 1))},
        {"no checksum of the chunk", CutOff(Chunk(data), 8 + data.size())},
        {"no checksum of the data", Chunk(CutOff(data, data.size() - 4))},
        {"a row too many", Chunk(Compressed(Joined({scanlines, Bytes(kScanline)})))},
        {"half a row too few", Chunk(Compressed(CutOff(scanlines, scanlines.size() - kScanline / 2)))},
        {"an unknown filter", Chunk(Compressed(Patched(scanlines, 3 * kScanline, 7)))},
        {"a dictionary", started(0x78, 0xBB)},
        {"too large a window", started(0x88, 0x1C)},
        {"another method", started(0x77, 0x85)},
        {"a wrong header", started(0x78, 0x02)},
        {"hardly anything", Chunk({0x78})},
    };
    const Bytes head = Head({}, kWidth, kHeight);
    for (const auto& c : cases) {
        SCOPED_TRACE(c.pszName);
        EXPECT_EQ(IsTaken(Joined({head, c.chunks, MakePngChunk("IEND", {})})), c.taken);
        EXPECT_EQ(IsTaken(Joined({head, c.chunks})), c.taken) << "without an end";
    }
}

// Of one chunk, which is inflated before its checksum is known.
TEST(PngRows, LeavesDamagedFilesToLibpng) {
    const Bytes head = Head({}, 211, 120);
    const Bytes file = Joined({head, Chunk(Compressed(Scanlines({}, 211, 120)))});
    EXPECT_TRUE(IsTaken(file));
    for (std::size_t nAt = head.size() + 8; nAt < file.size(); nAt += 97) {
        SCOPED_TRACE(nAt);
        EXPECT_FALSE(IsTaken(CutOff(file, nAt)));
        const auto change = static_cast<std::uint8_t>(1u << s_random() % 8);
        EXPECT_FALSE(IsTaken(Patched(file, file.size() - nAt, change)));
    }
}

}  // namespace

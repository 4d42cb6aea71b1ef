// The decoder of reduced pictures: at 1/8 of the size against libjpeg, from 2/8 to 4/8 against the formula.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <random>

#include <jpeglib.h>

#include "Decode.h"
#include "iml/jpeg/JpegDecoder.h"
#include "iml/jpeg/JpegReduced.h"
#include "support/JpegFormula.h"
#include "support/PictureWriter.h"

namespace {

using namespace TestSupport;

bool DecodeByLibjpeg(ByteSource& source, const JpegFrame& frame, RowSink& sink) {
    JpegDecoder decoder(source);
    if (!decoder.Start(frame, 1)) return false;
    sink.Begin({.width = decoder.Width(),
                .height = decoder.Height(),
                .extentX = frame.width / 8.0,
                .extentY = frame.height / 8.0});
    while (const std::uint8_t* pRow = decoder.NextRow())
        sink.AddRow(pRow);
    return true;
}

Raster Finish(RowSink& sink) {
    const std::unique_ptr<Gdiplus::Bitmap> pBitmap = sink.Finish();
    return pBitmap ? RasterOf(pBitmap.get()) : Raster();
}

// Larger than the decoder's rows, so that the edges, which are only partly in the picture, are seen too.
RowSink MakeSink(const JpegFrame& frame, std::uint32_t eighths) {
    const auto side = [&](std::uint32_t full) { return (full * eighths + 7) / 8 * 2; };
    return {side(frame.width), side(frame.height), Gdiplus::PixelFormat24bppRGB};
}

struct Reduced {
    bool taken = false;  // the file was not refused
    Raster picture;
};

template <typename Decode>
Reduced Reduce(const Bytes& file, std::uint32_t eighths, Decode decode) {
    MemorySource source(file);
    JpegFrame frame;
    if (!ReadJpegFrame(source, frame)) return {};
    RowSink sink = MakeSink(frame, eighths);
    const bool taken = decode(source, frame, sink);
    return {taken, Finish(sink)};
}

Reduced Reduce(const Bytes& file, std::uint32_t eighths) {
    return Reduce(file, eighths, [&](ByteSource& source, const JpegFrame& frame, RowSink& sink) {
        return DecodeJpegReduced(source, frame, eighths, sink);
    });
}

Reduced ReduceByLibjpeg(const Bytes& file) {
    return Reduce(file, 1, DecodeByLibjpeg);
}

Reduced ReduceByFormula(const Bytes& file, std::uint32_t eighths) {
    return Reduce(file, eighths, [&](ByteSource&, const JpegFrame& frame, RowSink& sink) {
        const std::optional<Raster> picture = ReduceJpegByFormula(file, eighths);
        if (!picture) return false;
        sink.Begin({.width = picture->nWidth,
                    .height = picture->nHeight,
                    .extentX = frame.width * (eighths / 8.0),
                    .extentY = frame.height * (eighths / 8.0)});
        for (std::uint32_t y = 0; y < picture->nHeight; ++y)
            sink.AddRow(picture->Row(y));
        return true;
    });
}

// Samples are rounded before they become colours, which makes 2 of 1 for blue, and the sink's filter
// overshoots.
constexpr int kRounding = 3;

// The file as baseline, in which no coefficient is left but DC.
Bytes WithoutAc(const Bytes& file) {
    jpeg_error_mgr error;
    jpeg_decompress_struct from{};
    jpeg_compress_struct to{};
    from.err = to.err = jpeg_std_error(&error);
    error.emit_message = [](j_common_ptr, int) {};
    jpeg_create_decompress(&from);
    jpeg_create_compress(&to);
    unsigned char* pOut = nullptr;
    unsigned long nSize = 0;
    jpeg_mem_src(&from, file.data(), static_cast<unsigned long>(file.size()));
    jpeg_mem_dest(&to, &pOut, &nSize);
    jpeg_read_header(&from, TRUE);
    jvirt_barray_ptr* const pCoefficients = jpeg_read_coefficients(&from);
    for (int c = 0; c < from.num_components; ++c) {
        const jpeg_component_info& component = from.comp_info[c];
        for (JDIMENSION y = 0; y < component.height_in_blocks; ++y) {
            JBLOCKARRAY rows = from.mem->access_virt_barray(reinterpret_cast<j_common_ptr>(&from),
                                                            pCoefficients[c], y, 1, TRUE);
            for (JDIMENSION x = 0; x < component.width_in_blocks; ++x)
                std::fill(rows[0][x] + 1, rows[0][x] + DCTSIZE2, JCOEF{0});
        }
    }
    jpeg_copy_critical_parameters(&from, &to);
    jpeg_write_coefficients(&to, pCoefficients);
    jpeg_finish_compress(&to);
    jpeg_finish_decompress(&from);
    jpeg_destroy_compress(&to);
    jpeg_destroy_decompress(&from);
    const Bytes bytes(pOut, pOut + nSize);
    std::free(pOut);
    return bytes;
}

struct Kind {
    const char* pszName;
    JpegKind kind;
    bool taken = true;
};

const Kind kSequential[] = {
    {"4:4:4", {}},
    {"4:2:2", {.horizontal = 2}},
    {"4:4:0", {.vertical = 2}},
    {"4:2:0", {.horizontal = 2, .vertical = 2}},
    {"4:1:1", {.horizontal = 4}},
    {"4:1:0", {.horizontal = 4, .vertical = 2}},
    {"tall 4:1:0", {.horizontal = 2, .vertical = 4}},
    {"thirds", {.horizontal = 3, .vertical = 2}},
    {"luma half as fine", {.restHorizontal = 2, .restVertical = 2}},
    {"2:2, 2:1", {.horizontal = 2, .vertical = 2, .restHorizontal = 2}},
    {"rgb", {.colours = JpegColours::Rgb}},
    {"rgb, green coarse", {.colours = JpegColours::Rgb, .horizontal = 2, .vertical = 2}},
    {"grey", {.colours = JpegColours::Grey}},
    {"grey, 2:2", {.colours = JpegColours::Grey, .horizontal = 2, .vertical = 2}},
    {"a scan each", {.scans = JpegScans::SeparateBaseline}},
    {"a scan each, 4:2:0", {.horizontal = 2, .vertical = 2, .scans = JpegScans::SeparateBaseline}},
    {"a scan each, 4:2:2", {.horizontal = 2, .scans = JpegScans::SeparateBaseline}},
    {"fourths", {.horizontal = 4, .vertical = 4, .scans = JpegScans::SeparateBaseline}, false},
    {"cmyk", {.colours = JpegColours::Cmyk}, false},
    {"ycck", {.colours = JpegColours::AdobeYcck}, false},
};

const Kind kProgressive[] = {
    {"progressive", {.scans = JpegScans::Progressive}},
    {"progressive, 4:2:0", {.horizontal = 2, .vertical = 2, .scans = JpegScans::Progressive}},
    {"progressive, 4:2:2", {.horizontal = 2, .scans = JpegScans::Progressive}},
    {"progressive, grey", {.colours = JpegColours::Grey, .scans = JpegScans::Progressive}},
    {"progressive, rgb", {.colours = JpegColours::Rgb, .scans = JpegScans::Progressive}},
    {"DC late", {.horizontal = 2, .vertical = 2, .scans = JpegScans::LateDc}},
    {"DC apart", {.scans = JpegScans::SeparateDc}},
    {"DC apart, 4:2:0", {.horizontal = 2, .vertical = 2, .scans = JpegScans::SeparateDc}},
};

// Noise for which the code has to reach its limits, or waves.
Raster MakePicture(std::uint32_t nWidth, std::uint32_t nHeight, bool noise) {
    static std::mt19937 random(7);
    Raster picture(nWidth, nHeight, 3);
    for (std::size_t i = 0; i < picture.pixels.size(); ++i) {
        const std::size_t x = i / 3 % nWidth;
        const std::size_t y = i / 3 / nWidth;
        const std::size_t wave = x * (i % 3 * 5 + 2) + y * (9 - i % 3 * 4);
        picture.pixels[i] = static_cast<std::uint8_t>(noise ? random() % 2 * 255 : wave);
    }
    return picture;
}

// Each size in combination with another quality, content and code.
void CompareAll(const Kind& k, bool withoutAc) {
    constexpr int kQualities[] = {10, 95, 40, 100, 1, 75, 85};
    for (std::uint32_t width = 1; width <= 40; ++width) {
        for (const unsigned restarts : {0u, 1u, 3u}) {
            JpegKind kind = k.kind;
            const std::uint32_t height = (width * 7 + restarts * 11) % 40 + 1;
            kind.restartInterval = restarts;
            kind.quality = kQualities[(width + restarts) % std::size(kQualities)];
            kind.optimised = width % 2 != 0;
            kind.extended = width % 5 == 0;
            SCOPED_TRACE(testing::Message() << k.pszName << ", " << width << " x " << height << ", restarts "
                                            << restarts << ", quality " << kind.quality);
            const Bytes file = MakeJpeg(MakePicture(width, height, width % 3 != 0), kind);
            const Reduced eighth = Reduce(file, 1);
            ASSERT_EQ(eighth.taken, k.taken);
            if (!k.taken) continue;
            const Reduced expected = ReduceByLibjpeg(withoutAc ? WithoutAc(file) : file);
            ASSERT_TRUE(expected.taken);
            ASSERT_LE(LargestDifference(eighth.picture, expected.picture), 1);
        }
    }
}

TEST(JpegReduced, MakesOfSequentialFilesWhatLibjpegDoes) {
    for (const Kind& k : kSequential)
        CompareAll(k, false);
}

TEST(JpegReduced, MakesOfProgressiveFilesWhatLibjpegDoesWithoutAc) {
    for (const Kind& k : kProgressive)
        CompareAll(k, true);
}

// More than is read at a time, of one row of units and of many.
TEST(JpegReduced, ReadsLargeFilesPieceByPiece) {
    for (const auto& [width, height] : {std::pair{2001u, 150u}, std::pair{24u, 9001u}}) {
        for (const unsigned restarts : {0u, 7u}) {
            const Raster picture = MakePicture(width, height, true);
            for (const JpegKind& kind :
                 {JpegKind{.horizontal = 2, .vertical = 2, .restartInterval = restarts, .quality = 100},
                  JpegKind{.scans = JpegScans::SeparateBaseline, .restartInterval = restarts}}) {
                const Bytes file = MakeJpeg(picture, kind);
                const Reduced eighth = Reduce(file, 1);
                EXPECT_TRUE(eighth.taken);
                EXPECT_LE(LargestDifference(eighth.picture, ReduceByLibjpeg(file).picture), 1);
            }
        }
    }
}

// What the decoder refuses must be what libjpeg makes of it, whatever had gone to the sink before.
void CompareWithLibjpegAlone(const Bytes& file, int& nRefused) {
    const Reduced alone = ReduceByLibjpeg(file);
    const auto decodeByEither = [](ByteSource& source, const JpegFrame& frame, RowSink& sink) {
        return DecodeJpegReduced(source, frame, 1, sink) || DecodeByLibjpeg(source, frame, sink);
    };
    const Reduced either = Reduce(file, 1, decodeByEither);
    ASSERT_EQ(either.taken, alone.taken);
    ASSERT_EQ(either.picture.pixels, alone.picture.pixels);
    const Reduced eighth = Reduce(file, 1);
    nRefused += eighth.taken ? 0 : 1;
    ASSERT_TRUE(eighth.taken || eighth.picture.pixels.empty());
}

// Nothing of a file that is refused is shown, and a file that is not has all coefficients that libjpeg finds.
void CompareWithFormula(const Bytes& file, std::uint32_t eighths, int& nRefused) {
    const Reduced reduced = Reduce(file, eighths);
    nRefused += reduced.taken ? 0 : 1;
    if (reduced.taken) {
        ASSERT_LE(LargestDifference(reduced.picture, ReduceByFormula(file, eighths).picture), kRounding);
    } else {
        ASSERT_TRUE(reduced.picture.pixels.empty());
    }
}

TEST(JpegReduced, MakesWhatTheFormulaMakesOfAnyFile) {
    std::vector<Kind> kinds(std::begin(kSequential), std::end(kSequential));
    kinds.insert(kinds.end(), std::begin(kProgressive), std::end(kProgressive));
    std::uint32_t width = 0;
    for (const Kind& k : kinds) {
        for (std::uint32_t i = 0; i < 18; ++i) {
            width = width % 40 + 1;
            const std::uint32_t height = width * 7 % 37 + 1;
            const std::uint32_t eighths = 2 + i % 3;
            JpegKind kind = k.kind;
            kind.restartInterval = i % 4;
            kind.quality = i % 2 == 0 ? 30 + static_cast<int>(i) * 3 : 95;
            kind.optimised = i % 5 == 0;
            SCOPED_TRACE(testing::Message() << k.pszName << ", " << width << " x " << height << ", restarts "
                                            << kind.restartInterval << ", " << eighths << "/8");
            int nRefused = 0;
            const Bytes file = MakeJpeg(MakePicture(width, height, i % 3 != 0), kind);
            ASSERT_NO_FATAL_FAILURE(CompareWithFormula(file, eighths, nRefused));
            const bool fourColours =
                kind.colours == JpegColours::Cmyk || kind.colours == JpegColours::AdobeYcck;
            ASSERT_EQ(nRefused, fourColours ? 1 : 0);
        }
    }
}

TEST(JpegReduced, LeavesDamagedFilesToLibjpeg) {
    std::mt19937 random(11);
    const auto below = [&](std::size_t n) { return random() % n; };
    const JpegKind kinds[] = {
        {},
        {.horizontal = 2, .vertical = 2},
        {.horizontal = 2, .vertical = 2, .restartInterval = 2, .optimised = true},
        {.colours = JpegColours::Grey, .restartInterval = 5},
        {.horizontal = 2, .vertical = 2, .scans = JpegScans::SeparateBaseline},
        {.horizontal = 2, .vertical = 2, .scans = JpegScans::Progressive, .quality = 60},
        {.horizontal = 2, .scans = JpegScans::LateDc, .restartInterval = 3, .quality = 60},
    };
    for (const JpegKind& kind : kinds) {
        const bool progressive = kind.scans == JpegScans::Progressive || kind.scans == JpegScans::LateDc;
        const Bytes file = MakeJpeg(MakePicture(150, 90, true), kind);
        int nRefused = 0;
        for (int i = 0; i < 400; ++i) {
            Bytes damaged = file;
            const std::size_t nAt = below(file.size());
            if (i % 4 == 0) {
                damaged = CutOff(file, nAt);
            } else if (i % 4 == 1) {
                damaged[nAt] = static_cast<std::uint8_t>(damaged[nAt] ^ 1u << below(8));
            } else if (i % 4 == 2) {
                damaged.erase(
                    damaged.begin() + static_cast<std::ptrdiff_t>(nAt),
                    damaged.begin() + static_cast<std::ptrdiff_t>(std::min(nAt + 1 + below(9), file.size())));
            } else {
                damaged = With(file, nAt, Bytes(1 + below(3), static_cast<std::uint8_t>(random())));
            }
            SCOPED_TRACE(testing::Message() << "damage " << i << " at " << nAt << " of " << file.size());
            if (!progressive) {
                ASSERT_NO_FATAL_FAILURE(CompareWithLibjpegAlone(damaged, nRefused));
            }
            ASSERT_NO_FATAL_FAILURE(
                CompareWithFormula(damaged, 2 + static_cast<std::uint32_t>(i) % 3, nRefused));
        }
        EXPECT_GT(nRefused, 100);
    }
}

// Restart markers that are swapped, missing, doubled; more than there should be; an end that is missing.
TEST(JpegReduced, LeavesFilesOutOfOrderToLibjpeg) {
    const Bytes file =
        MakeJpeg(MakePicture(150, 90, false), {.horizontal = 2, .vertical = 2, .restartInterval = 2});
    const auto find = [&](std::uint8_t marker) {
        const Bytes bytes = {0xFF, marker};
        return static_cast<std::size_t>(std::search(file.begin(), file.end(), bytes.begin(), bytes.end()) -
                                        file.begin());
    };
    const auto patched = [&](std::uint8_t marker, std::uint8_t other) {
        Bytes changed = file;
        changed[find(marker) + 1] = other;
        return changed;
    };
    Bytes fractions = file;
    fractions[find(0xC0) + 11] = 0x31;
    fractions[find(0xC0) + 14] = 0x21;
    const Bytes apart = MakeJpeg(MakePicture(150, 90, false), {.scans = JpegScans::SeparateBaseline});
    const Bytes other = MakeJpeg(MakePicture(150, 90, true), {.scans = JpegScans::SeparateBaseline});
    const Bytes start = {0xFF, 0xDA};
    const Bytes lastScan(std::find_end(other.begin(), other.end(), start.begin(), start.end()),
                         other.end() - 2);
    const struct {
        const char* pszName;
        Bytes file;
        bool refused = true;
    } cases[] = {
        {"a scan twice", With(apart, apart.size() - 2, lastScan)},
        {"scans without an end", CutOff(apart, apart.size() - 2)},
        {"fractional sampling", fractions},
        {"another restart", patched(0xD2, 0xD3)},
        {"no restart", patched(0xD2, 0)},
        {"restart twice", With(file, find(0xD2), {0xFF, 0xD2})},
        {"bytes before a restart", With(file, find(0xD2), {1, 2, 3})},
        {"end instead of a restart", patched(0xD2, 0xD9)},
        {"fill bytes before a restart", With(file, find(0xD2), Bytes(3, 0xFF)), false},
        {"no end", CutOff(file, file.size() - 2)},
        {"a restart as the end", With(file, file.size() - 2, {0xFF, 0xD3}), false},
        {"bytes behind the picture", With(file, file.size() - 2, {1, 2, 3}), false},
        {"bytes behind the end", With(file, file.size(), {1, 2, 3}), false},
        {"an unknown segment", With(file, 2, {0xFF, 0xF7, 0, 2})},
        {"another height later", With(file, file.size() - 2, {0xFF, 0xDC, 0, 4, 0, 10}), false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.pszName);
        int nRefused = 0;
        ASSERT_NO_FATAL_FAILURE(CompareWithLibjpegAlone(c.file, nRefused));
        EXPECT_EQ(nRefused, c.refused ? 1 : 0);
    }
}

// Where the last units are missing, libjpeg neither shows what zeros would make of them.
TEST(JpegReduced, LeavesFilesThatEndTooEarlyToLibjpeg) {
    for (const bool noise : {false, true}) {
        for (const JpegKind& kind : {JpegKind{.optimised = true}, JpegKind{.horizontal = 2, .vertical = 2},
                                     JpegKind{.colours = JpegColours::Grey}}) {
            const Raster picture = noise ? MakePicture(150, 90, true) : Raster(150, 90, 3);
            const Bytes file = MakeJpeg(picture, kind);
            for (std::size_t nMissing = 1; nMissing <= 20; ++nMissing) {
                SCOPED_TRACE(testing::Message() << noise << ", " << kind.horizontal << ", " << nMissing);
                const std::size_t nEnd = file.size() - 2 - nMissing;
                int nRefused = 0;
                ASSERT_NO_FATAL_FAILURE(
                    CompareWithLibjpegAlone(With(CutOff(file, nEnd), nEnd, {0xFF, 0xD9}), nRefused));
                EXPECT_EQ(nRefused, 1);
            }
        }
    }
}

}  // namespace

#include "iml/Codec.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <tiff.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <string>

#include "platform/graphics/Image.h"
#include "support/ImageRaster.h"
#include "support/PictureFiles.h"

namespace {

using namespace TestSupport;

struct Case {
    std::string name;
    const Codec* pCodec;
    Bytes file;
    Raster expected;
    int tolerance = 0;
    bool rowsSurvive = true;  // a file without its last tenth gives rows, and they are right
};

struct Decoded {
    bool headerRead = false;
    bool complete = false;
    PictureInfo info;
    std::uint32_t nRows = 0;
    Raster picture;
};

Gdiplus::PixelFormat FormatOf(bool alpha) {
    return alpha ? Gdiplus::PixelFormat32bppARGB : Gdiplus::PixelFormat24bppRGB;
}

Decoded Decode(const Codec& codec, const Bytes& file, std::uint32_t nWidth = 0, std::uint32_t nHeight = 0) {
    Decoded result;
    MemorySource source(file);
    result.headerRead = codec.readInfo(source, result.info);
    if (!result.headerRead) return result;
    RowSink sink(nWidth, nHeight, FormatOf(result.info.alpha));
    result.complete = codec.decode(source, result.info, sink);
    result.nRows = sink.RowsTaken();
    result.picture = RasterOf(sink.Finish().get());
    return result;
}

const Raster& Colours() {
    static const Raster picture = ColourPattern(37, 29);
    return picture;
}

Raster WithHole(const Raster& colours, std::array<std::uint8_t, 3> hole) {
    Raster picture = OnCanvas(colours, colours.nWidth, colours.nHeight, 0, 0);
    for (auto it = picture.pixels.begin(); it != picture.pixels.end(); it += 4) {
        if (std::equal(hole.begin(), hole.end(), it)) std::fill(it, it + 4, std::uint8_t{0});
    }
    return picture;
}

void AddBmpCases(std::vector<Case>& cases) {
    const Raster alpha = AlphaPattern(23, 17);
    const Raster smooth = SmoothPattern(61, 43);
    const std::array<std::uint32_t, 4> masks565 = {0x1F, 0x7E0, 0xF800, 0};
    const std::array<std::uint32_t, 4> wideMasks = {0x3FF, 0xFFC00, 0x3FF00000, 0};
    const std::array<std::uint32_t, 4> alphaMasks = {0xFF00, 0xFF0000, 0xFF000000, 0xFF};
    const auto add = [&cases](const char* pszName, const Raster& picture, const BmpKind& kind,
                              int tolerance = 0) {
        cases.push_back({std::string("bmp ") + pszName, &kBmpCodec, MakeBmp(picture, kind),
                         kind.bits == 1 ? GreyOf(picture) : picture, tolerance});
    };
    add("1 bit", Colours(), {.bits = 1});
    add("4 bits", Colours(), {.bits = 4});
    add("8 bits", Colours(), {.bits = 8});
    add("16 bits", smooth, {.bits = 16}, 8);
    add("24 bits", smooth, {});
    add("32 bits", smooth, {.bits = 32});
    add("24 bits, top down", smooth, {.topDown = true});
    add("core, 1 bit", Colours(), {.bits = 1, .header = 12});
    add("core, 8 bits", Colours(), {.bits = 8, .header = 12});
    add("core, 24 bits", Colours(), {.header = 12});
    add("16 bits by masks", smooth, {.bits = 16, .compression = 3, .masks = masks565}, 8);
    add("wide masks, V2", smooth, {.bits = 32, .header = 52, .compression = 3, .masks = wideMasks}, 1);
    add("alpha by masks, V3", alpha, {.bits = 32, .header = 56, .compression = 3, .masks = alphaMasks});
    add("alpha by masks, V5", alpha, {.bits = 32, .header = 124, .compression = 3, .masks = alphaMasks});
    add("alpha by masks behind the header", alpha, {.bits = 32, .compression = 6, .masks = alphaMasks});
    add("V4, 8 bits", Colours(), {.bits = 8, .header = 108});
    add("runs of 8 bits", Colours(), {.bits = 8, .compression = 1});
    add("runs of 4 bits", Colours(), {.bits = 4, .compression = 2});

    Bytes tooManyColours = MakeBmp(Colours(), {.bits = 4});
    SetNumber(tooManyColours, 46, 4, 0xFFFFFFFF);
    cases.push_back({"bmp with too many colours stated", &kBmpCodec, tooManyColours, Colours()});
}

void AddGifCases(std::vector<Case>& cases) {
    const Raster colours = ColourPattern(71, 93);
    const auto add = [&](const char* pszName, const GifKind& kind, const Raster& expected) {
        cases.push_back({std::string("gif ") + pszName, &kGifCodec, MakeGif(colours, kind), expected, 0,
                         !kind.interlaced && expected.nChannels == 3});
    };
    add("plain", {}, colours);
    add("interlaced", {.interlaced = true, .localColours = true}, colours);
    add("transparent", {.transparent = 5}, WithHole(colours, {255, 0, 255}));
    add("part of the canvas", {.canvasWidth = 90, .canvasHeight = 99, .left = 7, .top = 5},
        OnCanvas(colours, 90, 99, 7, 5));
    add("beyond the canvas", {.canvasWidth = 60, .canvasHeight = 50, .left = 2, .interlaced = true},
        OnCanvas(colours, 60, 50, 2, 0));

    // Without any colour table: the second colour is white, all others are black.
    Bytes colourless = MakeGif(colours, {});
    colourless[10] = 0;
    colourless.erase(colourless.begin() + 13, colourless.begin() + 13 + 3 * 8);
    Raster expected(71, 93, 3);
    for (std::size_t i = 0; i < expected.pixels.size(); i += 3) {
        const bool second = colours.pixels[i] == 255 && colours.pixels[i + 1] + colours.pixels[i + 2] == 0;
        std::memset(&expected.pixels[i], second ? 255 : 0, 3);
    }
    cases.push_back({"gif without colours", &kGifCodec, colourless, expected});
}

void AddWebpCases(std::vector<Case>& cases) {
    const Raster alpha = AlphaPattern(60, 50);
    const Raster smooth = SmoothPattern(200, 150);
    Raster faint = OnCanvas(smooth, 200, 150, 0, 0);
    for (std::size_t i = 3; i < faint.pixels.size(); i += 4)
        faint.pixels[i] = static_cast<std::uint8_t>(i / 500);
    const auto add = [&cases](const char* pszName, const Bytes& file, const Raster& expected,
                              int tolerance = 0) {
        cases.push_back({std::string("webp ") + pszName, &kWebpCodec, file, expected, tolerance, false});
    };
    add("lossless", MakeWebp(Colours(), true), Colours());
    add("lossless, alpha", MakeWebp(alpha, true), alpha);
    add("lossy", MakeWebp(smooth, false), smooth, 8);
    add("lossy, alpha", MakeWebp(faint, false), faint, 8);
    add("animation, whole canvas", MakeAnimatedWebp(Colours(), true, 37, 29, 0, 0), Colours());
    add("animation, part of the canvas", MakeAnimatedWebp(alpha, true, 90, 70, 8, 12),
        OnCanvas(alpha, 90, 70, 8, 12));
    add("animation, lossy with alpha", MakeAnimatedWebp(faint, false, 210, 160, 2, 4),
        OnCanvas(faint, 210, 160, 2, 4), 8);
    cases[cases.size() - 5].rowsSurvive = true;
}

void AddTiffCases(std::vector<Case>& cases) {
    const Raster smooth = SmoothPattern(96, 64);
    const Raster alpha = AlphaPattern(37, 29);
    const auto add = [&cases](const char* pszName, const Raster& picture, const TiffKind& kind) {
        const bool jpeg = kind.compression == COMPRESSION_JPEG;
        const bool grey = kind.photometric < 2 || (kind.photometric == PHOTOMETRIC_YCBCR && !jpeg);
        const bool rowsSurvive = !kind.separate && std::string(kind.pszMode) == "w";
        cases.push_back({std::string("tiff ") + pszName, &kTiffCodec, MakeTiff(picture, kind),
                         grey ? GreyOf(picture) : picture, jpeg ? 12 : 0, rowsSurvive});
    };
    constexpr std::uint16_t kWhite0 = PHOTOMETRIC_MINISWHITE, kGrey = PHOTOMETRIC_MINISBLACK,
                            kPalette = PHOTOMETRIC_PALETTE, kCmyk = PHOTOMETRIC_SEPARATED,
                            kYcc = PHOTOMETRIC_YCBCR;
    add("rgb", smooth, {});
    add("rgb, all in one strip", smooth, {.rowsPerStrip = 64});
    add("rgb, 16 bits, big endian, deflate", smooth, {.bits = 16, .compression = 8, .pszMode = "wb"});
    add("rgb, 64-bit offsets, lzw, turned", smooth, {.compression = 5, .orientation = 3, .pszMode = "w8"});
    add("rgb, lzw, all in one strip", Colours(), {.compression = 5, .rowsPerStrip = 29});
    add("rgb, packbits, planes", Colours(), {.compression = 32773, .separate = true});
    add("rgb, 4 bits, tiles", Colours(), {.bits = 4, .tile = 16});
    add("rgb, tiles, planes", smooth, {.tile = 16, .separate = true});
    add("grey, 8 bits", smooth, {.photometric = kGrey});
    add("grey, 2 bits", Colours(), {.photometric = kGrey, .bits = 2});
    add("grey, 16 bits, tiles", smooth, {.photometric = kGrey, .bits = 16, .tile = 32});
    add("1 bit, white is 0", Colours(), {.photometric = kWhite0, .bits = 1});
    add("fax, group 3", Colours(), {.photometric = kWhite0, .bits = 1, .compression = 3});
    add("fax, group 4", Colours(), {.photometric = kWhite0, .bits = 1, .compression = 4, .rowsPerStrip = 29});
    add("palette, 4 bits", Colours(), {.photometric = kPalette, .bits = 4});
    add("palette, 8 bits, tiles, lzw", Colours(), {.photometric = kPalette, .compression = 5, .tile = 16});
    add("cmyk", Colours(), {.photometric = kCmyk});
    add("cmyk, 16 bits, planes", Colours(), {.photometric = kCmyk, .bits = 16, .separate = true});
    add("alpha", alpha, {.alpha = 2});
    add("alpha, 16 bits, planes, lzw", alpha, {.bits = 16, .compression = 5, .alpha = 2, .separate = true});
    add("alpha, premultiplied", alpha, {.alpha = 1});
    add("alpha, premultiplied, tiles", alpha, {.tile = 16, .alpha = 1});
    add("jpeg, ycbcr", smooth, {.photometric = kYcc, .compression = 7, .rowsPerStrip = 16});
    add("jpeg, ycbcr, tiles", smooth, {.photometric = kYcc, .compression = 7, .tile = 32});
    add("ycbcr, turned", smooth, {.photometric = kYcc, .rowsPerStrip = 24, .orientation = 3});
    add("ycbcr, tiles, deflate", smooth, {.photometric = kYcc, .compression = 8, .tile = 16});
}

const std::vector<Case>& Cases() {
    static const std::vector<Case> cases = [] {
        std::vector<Case> all;
        AddBmpCases(all);
        AddGifCases(all);
        AddWebpCases(all);
        AddTiffCases(all);
        return all;
    }();
    return cases;
}

TEST(Codec, DecodesEveryVariant) {
    for (const Case& c : Cases()) {
        SCOPED_TRACE(c.name);
        for (const Codec* pCodec : {&kBmpCodec, &kGifCodec, &kWebpCodec, &kTiffCodec})
            EXPECT_EQ(pCodec->recognise(std::span(c.file).first(kSignatureBytes)), pCodec == c.pCodec);
        const Decoded decoded = Decode(*c.pCodec, c.file);
        EXPECT_TRUE(decoded.complete);
        EXPECT_EQ(decoded.info.alpha, c.expected.nChannels == 4);
        EXPECT_LE(LargestDifference(decoded.picture, c.expected), c.tolerance);
    }
}

// What has come of a file that is cut off is what the whole file has there, or else blank. Only the row in
// which the cut is may be neither.
int CountWrongRows(const Decoded& whole, const Decoded& cut, bool bottomUp) {
    int nWrong = 0;
    for (std::uint32_t i = 0; i < cut.nRows; ++i) {
        const std::uint32_t y = bottomUp ? cut.picture.nHeight - 1 - i : i;
        const std::uint8_t* pRow = cut.picture.Row(y);
        const auto isBlank = [](std::uint8_t value) { return value == 255; };
        nWrong += !std::equal(pRow, pRow + cut.picture.Stride(), whole.picture.Row(y)) &&
                  !std::all_of(pRow, pRow + cut.picture.Stride(), isBlank);
    }
    return nWrong;
}

TEST(Codec, GivesTheRowsOfACutOffFile) {
    for (const Case& c : Cases()) {
        const Decoded whole = Decode(*c.pCodec, c.file);
        const bool bottomUp = c.pCodec == &kBmpCodec && c.name.find("top down") == std::string::npos;
        for (std::size_t nSize = 0; nSize < c.file.size(); nSize += 1 + c.file.size() / 150) {
            SCOPED_TRACE(c.name + " cut to " + std::to_string(nSize) + " of " +
                         std::to_string(c.file.size()));
            const Decoded cut =
                Decode(*c.pCodec, Bytes(c.file.begin(), c.file.begin() + static_cast<long>(nSize)));
            if (!c.rowsSurvive) continue;
            EXPECT_LE(CountWrongRows(whole, cut, bottomUp), 1);
            EXPECT_TRUE(cut.nRows > 0 || nSize < c.file.size() / 10 * 9);
        }
    }
}

TEST(Codec, ShowsACutOffInterlacedGifCoarsely) {
    const Raster colours = ColourPattern(71, 93);
    const Bytes file = MakeGif(colours, {.interlaced = true});
    const Decoded cut =
        Decode(kGifCodec, Bytes(file.begin(), file.begin() + static_cast<long>(file.size() / 2)));
    EXPECT_FALSE(cut.complete);
    ASSERT_EQ(cut.nRows, 93u);
    for (std::uint32_t y = 0; y < 93; ++y) {
        const auto isRow = [&](std::uint32_t other) {
            return std::equal(cut.picture.Row(y), cut.picture.Row(y) + cut.picture.Stride(),
                              colours.Row(other));
        };
        EXPECT_TRUE(isRow(y) || isRow(y / 2 * 2) || isRow(y / 4 * 4) || isRow(y / 8 * 8)) << y;
    }
}

TEST(Codec, LeavesOutWhatARunLengthCodeSkips) {
    Bytes file = MakeBmp(Colours(), {.bits = 8, .compression = 1, .topDown = true});
    const std::uint8_t code[] = {2, 7, 0, 2, 3, 0, 40, 7, 0, 0, 1, 7, 0, 2, 1, 2, 1, 7, 0, 1};
    file.resize(14 + 40 + 4 * 256);
    file.insert(file.end(), std::begin(code), std::end(code));
    Raster expected(37, 29, 3);
    std::fill_n(expected.Row(0), 3 * 37,
                std::uint8_t{255});  // two, three skipped, and more than there is room
    std::fill_n(expected.Row(0) + 3 * 2, 3 * 3, std::uint8_t{0});
    std::fill_n(expected.Row(1), 3, std::uint8_t{255});
    std::fill_n(expected.Row(3) + 3 * 2, 3, std::uint8_t{255});  // one right, two down
    const Decoded decoded = Decode(kBmpCodec, file);
    EXPECT_TRUE(decoded.complete);
    EXPECT_EQ(LargestDifference(decoded.picture, expected), 0);
}

// The decoder may deliver less than the picture's size, the outcome must not show it.
TEST(Codec, ReducesWebp) {
    const Raster smooth = SmoothPattern(640, 480);
    Raster alpha = OnCanvas(smooth, 640, 480, 0, 0);
    for (std::size_t i = 3; i < alpha.pixels.size(); i += 4)
        alpha.pixels[i] = static_cast<std::uint8_t>(64 + i * 191 / alpha.pixels.size());
    for (const Raster* pPicture : {&smooth, static_cast<const Raster*>(&alpha)}) {
        RowSink sink(40, 30, FormatOf(pPicture == &alpha));
        sink.Begin({640, 480, FormatOf(pPicture == &alpha)});
        for (std::uint32_t y = 0; y < 480; ++y)
            sink.AddRow(pPicture->Row(y));
        const Raster expected = RasterOf(sink.Finish().get());
        for (const bool lossless : {false, true}) {
            const Decoded decoded = Decode(kWebpCodec, MakeWebp(*pPicture, lossless), 40, 30);
            EXPECT_TRUE(decoded.complete);
            EXPECT_LE(LargestDifference(decoded.picture, expected), 6) << lossless;
        }
    }
}

std::vector<Case> HostileFiles() {
    std::vector<Case> files;
    const Raster small = ColourPattern(4, 4);
    const auto addBmp = [&](const char* pszName, std::size_t nAt, unsigned nBytes, std::uint64_t value,
                            const BmpKind& kind = {}) {
        files.push_back({std::string("bmp: ") + pszName, &kBmpCodec, MakeBmp(small, kind), {}});
        SetNumber(files.back().file, nAt, nBytes, value);
    };
    const std::uint64_t huge = 30000 | std::uint64_t{30000} << 32;
    addBmp("30000 x 30000", 18, 8, huge);
    addBmp("30000 x 30000, runs", 18, 8, huge, {.bits = 8, .compression = 1});
    addBmp("most rows that a field can tell", 22, 4, 0x80000000);
    addBmp("negative width", 18, 4, 0xFFFFFFFF);
    addBmp("no rows", 22, 4, 0);
    addBmp("pixels beyond the file", 10, 4, 0xFFFFFFF0);
    addBmp("header beyond the file", 14, 4, 124);
    addBmp("7 bits", 28, 2, 7);
    addBmp("runs of 24 bits", 30, 4, 1);

    const auto addGif = [&](const char* pszName, std::size_t nAt, unsigned nBytes, std::uint64_t value) {
        files.push_back({std::string("gif: ") + pszName, &kGifCodec, MakeGif(small, {}), {}});
        SetNumber(files.back().file, nAt, nBytes, value);
    };
    constexpr std::size_t kFrame = 13 + 24 + 30;  // behind the canvas, the colours and the comment
    addGif("30000 x 30000", 6, 4, 30000 | 30000 << 16);
    addGif("no canvas", 6, 4, 0);
    addGif("frame outside the canvas", kFrame + 1, 2, 4);
    addGif("frame below the canvas", kFrame + 3, 2, 1000);
    addGif("empty frame", kFrame + 5, 2, 0);

    Bytes webp = MakeWebp(small, true);
    SetNumber(webp, 21, 4, 0x0FFFFFFF);
    files.push_back({"webp: 16384 x 16384", &kWebpCodec, webp, {}});
    webp = MakeAnimatedWebp(small, true, 8, 8, 2, 2);
    SetNumber(webp, 12 + 18 + 14 + 8, 3, 100);
    files.push_back({"webp: frame outside the canvas", &kWebpCodec, webp, {}});

    const auto addTiff = [&](const char* pszName, const TiffKind& kind,
                             std::initializer_list<std::pair<std::uint16_t, std::uint32_t>> tags) {
        files.push_back({std::string("tiff: ") + pszName, &kTiffCodec, MakeTiff(small, kind), {}});
        for (const auto& [tag, value] : tags)
            SetTiffTag(files.back().file, tag, value);
    };
    constexpr std::uint16_t kWidth = TIFFTAG_IMAGEWIDTH, kHeight = TIFFTAG_IMAGELENGTH,
                            kRows = TIFFTAG_ROWSPERSTRIP, kBytes = TIFFTAG_STRIPBYTECOUNTS;
    addTiff("30000 x 30000", {}, {{kWidth, 30000}, {kHeight, 30000}});
    addTiff("30000 x 30000, one strip", {},
            {{kWidth, 30000}, {kHeight, 30000}, {kRows, 30000}, {kBytes, 0x7FFFFFFF}});
    addTiff("one row of 2^30 pixels", {.compression = 5},
            {{kWidth, 1u << 30}, {kHeight, 1}, {kBytes, 0x7FFFFFFF}});
    addTiff("converted, 16000 x 16000", {.photometric = PHOTOMETRIC_YCBCR, .compression = 8},
            {{kWidth, 16000}, {kHeight, 16000}, {kRows, 16000}});
    addTiff("tiles of 30000 x 30000", {.tile = 16},
            {{TIFFTAG_TILEWIDTH, 30000}, {TIFFTAG_TILELENGTH, 30000}});
    addTiff("strip beyond the file", {}, {{TIFFTAG_STRIPOFFSETS, 0xFFFFFF00}});
    addTiff("no columns", {}, {{kWidth, 0}});
    addTiff("samples without end", {}, {{TIFFTAG_SAMPLESPERPIXEL, 65535}});
    Bytes tiff = MakeTiff(small, {});
    SetNumber(tiff, 4, 4, 4);
    files.push_back({"tiff: directory in the header", &kTiffCodec, tiff, {}});
    return files;
}

TEST(Codec, RefusesHostileFilesWithoutTakingMemory) {
    const auto peak = [] {
        rusage usage{};
        getrusage(RUSAGE_SELF, &usage);
        return usage.ru_maxrss;  // KB
    };
    const long nBefore = peak();
    for (const Case& c : HostileFiles()) {
        SCOPED_TRACE(c.name);
        ASSERT_LT(c.file.size(), 1500u);
        EXPECT_EQ(Decode(*c.pCodec, c.file).nRows, 0u);
        EXPECT_EQ(Decode(*c.pCodec, c.file, 40, 40).nRows, 0u);
    }
    EXPECT_LT(peak() - nBefore, 100 * 1024);
}

}  // namespace

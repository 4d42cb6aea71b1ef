#include <gtest/gtest.h>

#include <cmath>

#include "Decode.h"
#include "support/PictureWriter.h"
#include "support/ReferenceResampler.h"

namespace {

using namespace TestSupport;

struct Kind {
    const char* pszName;
    JpegKind kind;
    int tolerance = 5;  // of a smooth picture
};

const Kind kKinds[] = {
    {"4:4:4", {}},
    {"4:2:2", {.horizontal = 2}},
    {"4:4:0", {.vertical = 2}},
    {"4:2:0", {.horizontal = 2, .vertical = 2}},
    {"4:1:1", {.horizontal = 4}, 8},
    {"rgb", {.colours = JpegColours::Rgb}},
    {"grey", {.colours = JpegColours::Grey}},
    {"cmyk", {.colours = JpegColours::Cmyk}, 6},
    {"cmyk, adobe", {.colours = JpegColours::AdobeCmyk}, 6},
    {"ycck, adobe", {.colours = JpegColours::AdobeYcck}, 6},
    {"a scan a component", {.horizontal = 2, .vertical = 2, .scans = JpegScans::SeparateBaseline}},
    {"restarts", {.horizontal = 2, .vertical = 2, .restartInterval = 3}},
    {"progressive", {.scans = JpegScans::Progressive}},
    {"progressive, 4:2:0", {.horizontal = 2, .vertical = 2, .scans = JpegScans::Progressive}},
    {"progressive, 4:2:2, restarts",
     {.horizontal = 2, .scans = JpegScans::Progressive, .restartInterval = 5}},
    {"progressive, grey", {.colours = JpegColours::Grey, .scans = JpegScans::Progressive}},
    {"progressive, rgb", {.colours = JpegColours::Rgb, .scans = JpegScans::Progressive}},
    {"progressive, ycck", {.colours = JpegColours::AdobeYcck, .scans = JpegScans::Progressive}, 6},
    {"progressive, DC late", {.horizontal = 2, .vertical = 2, .scans = JpegScans::LateDc}},
    {"progressive, DC apart", {.scans = JpegScans::SeparateDc}},
    {"progressive, DC apart, 4:2:0, restarts",
     {.horizontal = 2, .vertical = 2, .scans = JpegScans::SeparateDc, .restartInterval = 2}},
};

Raster Expected(const Raster& picture, const JpegKind& kind) {
    return kind.colours == JpegColours::Grey ? LumaOf(picture) : picture;
}

// Waves that are long enough for every kind and short enough to show a shift.
Raster Waves(std::uint32_t nWidth, std::uint32_t nHeight) {
    Raster picture(nWidth, nHeight, 3);
    for (std::uint32_t y = 0; y < nHeight; ++y) {
        for (std::uint32_t x = 0; x < nWidth; ++x) {
            const double wave = std::sin(x * 0.05) + std::sin(y * 0.05 + 1);
            for (unsigned i = 0; i < 3; ++i)
                picture.Row(y)[3 * x + i] = static_cast<std::uint8_t>(128 + wave * (30 + 12 * i));
        }
    }
    return picture;
}

TEST(Jpeg, DecodesEveryVariantAtEverySize) {
    const Raster picture = Waves(201, 149);
    for (const Kind& k : kKinds) {
        SCOPED_TRACE(k.pszName);
        const Bytes file = MakeJpeg(picture, k.kind);
        const Raster whole = Decode(file);
        EXPECT_LE(LargestDifference(whole, Expected(picture, k.kind)), k.tolerance);
        // One for each scale at which the codec can decode, and a larger one.
        for (const std::uint32_t width : {10u, 20u, 40u, 250u}) {
            const ReferenceTarget target{width, width * 149 / 201};
            EXPECT_LE(LargestDifference(Decode(file, target.nWidth, target.nHeight),
                                        ReferenceResample(whole, target)),
                      k.tolerance)
                << width;
        }
    }
}

TEST(Jpeg, DecodesSizesAroundABlock) {
    for (const std::uint32_t width : {1u, 2u, 7u, 8u, 9u, 15u, 16u, 17u, 33u}) {
        for (const std::uint32_t height : {1u, 8u, 9u, 17u}) {
            const Raster picture = Waves(width, height);
            for (const Kind& k : kKinds) {
                const Bytes file = MakeJpeg(picture, k.kind);
                SCOPED_TRACE(testing::Message() << width << " x " << height << ", " << k.pszName);
                EXPECT_LE(LargestDifference(Decode(file), Expected(picture, k.kind)), 8);
                const Raster small = Decode(file, 1, 1);
                EXPECT_LE(LargestDifference(small, ReferenceResample(Expected(picture, k.kind), {1, 1})), 8);
            }
        }
    }
}

TEST(Jpeg, ShowsWhatIsThereOfACutOffFile) {
    const Raster picture = Waves(400, 296);
    for (const JpegScans scans : {JpegScans::Baseline, JpegScans::Progressive, JpegScans::LateDc}) {
        const Bytes file = MakeJpeg(picture, {.scans = scans});
        const Raster whole = Decode(file);
        for (std::size_t i = 0; i < 40; ++i) {
            SCOPED_TRACE(testing::Message() << static_cast<int>(scans) << ", " << i << " of 40");
            const Bytes cut = CutOff(file, file.size() * i / 40);
            const Raster rest = Decode(cut);
            for (const std::uint32_t width : {20u, 160u}) {
                const Raster small = Decode(cut, width, width * 3 / 4);
                EXPECT_EQ(small.nWidth, rest.nWidth == 0 ? 0 : width);
            }
            if (scans != JpegScans::Baseline || i < 24) continue;
            EXPECT_LE(LargestDifference(FirstRows(rest, 100), FirstRows(whole, 100)), 0);
        }
    }
}

std::size_t FindMarkerIn(const Bytes& file, std::uint8_t marker) {
    std::size_t nAt = 2;
    while (file[nAt + 1] != marker)
        nAt += 2u + file[nAt + 2] * 256u + file[nAt + 3];
    return nAt;
}

// The last AC scan is repeated, before the scan that completes DC.
Bytes WithManyScans() {
    Bytes file = MakeJpeg(Waves(400, 296), {.scans = JpegScans::LateDc});
    const Bytes start = {0xFF, 0xDA};
    const auto last = std::find_end(file.begin(), file.end(), start.begin(), start.end());
    const Bytes scan(std::find_end(file.begin(), last, start.begin(), start.end()), last);
    Bytes scans;
    for (int i = 0; i < 5000; ++i)
        scans.insert(scans.end(), scan.begin(), scan.end());
    return With(file, static_cast<std::size_t>(last - file.begin()), scans);
}

TEST(Jpeg, RefusesHostileFilesCheaply) {
    const Bytes small = MakeJpeg(Waves(16, 16));
    const Bytes progressive = MakeJpeg(Waves(16, 16), {.scans = JpegScans::Progressive});
    const std::size_t nFrame = FindMarkerIn(small, 0xC0);
    const auto patched = [&](std::size_t nAt, std::uint8_t value) {
        Bytes file = small;
        file[nAt] = value;
        return file;
    };
    const struct {
        const char* pszName;
        Bytes file;
    } cases[] = {
        {"thousands of scans", WithManyScans()},
        {"no width", WithJpegSize(small, 0, 16)},
        {"no height", WithJpegSize(small, 16, 0)},
        {"no components", patched(nFrame + 9, 0)},
        {"too many components", patched(nFrame + 9, 5)},
        {"sampling of 0", patched(nFrame + 11, 0)},
        {"sampling of 15", patched(nFrame + 11, 0xFF)},
        {"12 bits", patched(nFrame + 4, 12)},
        {"unknown process", patched(nFrame + 1, 0xCB)},
        {"frame cut short", patched(nFrame + 3, 9)},
        {"no table", patched(FindMarkerIn(small, 0xDB) + 1, 0xFE)},
        {"huge, progressive", WithJpegSize(progressive, 30000, 30000)},
        {"huge, a scan each",
         WithJpegSize(MakeJpeg(Waves(16, 16), {.scans = JpegScans::SeparateBaseline}), 30000, 30000)},
        {"huge and cut off", CutOff(WithJpegSize(small, 30000, 30000), small.size() - 20)},
        {"huge and cut off, progressive", CutOff(WithJpegSize(progressive, 30000, 30000), 250)},
        {"nothing but a mark", {0xFF, 0xD8, 0xFF}},
        {"endless fill", Bytes(100'000, 0xFF)},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.pszName);
        const long nBefore = PeakMemory();
        EXPECT_EQ(Decode(c.file).nWidth, 0u);
        EXPECT_EQ(Decode(c.file, 20, 20).nWidth, 0u);
        EXPECT_LT(PeakMemory() - nBefore, 50'000);
    }
    // The picture ends at once, and says so: a blank thumbnail, and no more memory than that takes.
    const long nBefore = PeakMemory();
    EXPECT_EQ(Decode(WithJpegSize(small, 30000, 30000), 160, 160).nWidth, 160u);
    EXPECT_LT(PeakMemory() - nBefore, 50'000);
}

TEST(Jpeg, StepsOverWhatStandsBetweenSegments) {
    const Raster picture = Waves(400, 296);
    for (const JpegScans scans : {JpegScans::Baseline, JpegScans::Progressive}) {
        const Bytes file = MakeJpeg(picture, {.scans = scans});
        const std::size_t nTables = FindMarkerIn(file, 0xDB);
        for (const Bytes& between : {Bytes(5, 0xFF), Bytes(7, 0), Bytes{1, 0xFF, 0, 0xFF, 0xD0, 9}}) {
            const Bytes stuffed = With(file, nTables, between);
            EXPECT_EQ(Decode(stuffed).pixels, Decode(file).pixels);
            EXPECT_EQ(Decode(stuffed, 20, 15).pixels, Decode(file, 20, 15).pixels);
        }
    }
}

TEST(Jpeg, FindsTheThumbnailInside) {
    const Bytes thumbnail = MakeJpeg(Waves(160, 120));
    const struct {
        const char* pszName;
        ExifKind exif;
        Bytes thumbnail;
        std::int32_t expected;
    } cases[] = {
        {"little endian", {}, thumbnail, 0},
        {"big endian", {.bigEndian = true}, thumbnail, 0},
        {"empty", {}, {}, IML_NO_THUMBNAIL},
        {"one directory", {.secondDirectory = 0}, thumbnail, IML_NO_THUMBNAIL},
        {"directory in a circle", {.secondDirectory = 8}, thumbnail, IML_NO_THUMBNAIL},
        {"no directory", {.firstDirectory = 0xFFFFFFFF}, thumbnail, IML_NO_THUMBNAIL},
        {"directory beyond", {.secondDirectory = 60'000}, thumbnail, IML_NO_THUMBNAIL},
        {"endless directory", {.fields = 65535}, thumbnail, IML_NO_THUMBNAIL},
        {"thumbnail beyond", {.offset = 65'000}, thumbnail, IML_NO_THUMBNAIL},
        {"offset that wraps around", {.offset = 0xFFFFFFFE}, thumbnail, IML_NO_THUMBNAIL},
        {"length beyond", {.length = 0xFFFFFFFF}, thumbnail, 0},
        {"no picture", {}, Bytes(100, 7), IML_FAILED},
        {"a huge picture", {}, WithJpegSize(thumbnail, 65500, 65500), IML_FAILED},
    };
    const TemporaryFolder folder;
    const Bytes file = MakeJpeg(Waves(400, 300));
    for (const auto& c : cases) {
        SCOPED_TRACE(c.pszName);
        const Bytes carrier = WithSegment(file, 0xE1, MakeExif(c.thumbnail, c.exif));
        // Another segment of the same marker comes first.
        const std::u16string path = folder.Add("a.jpg", WithSegment(carrier, 0xE1, {'h', 't', 't', 'p'}));
        Gdiplus::Image* pImage = nullptr;
        const long nBefore = PeakMemory();
        EXPECT_EQ(QXGetEmbeddedThumbnailInImage(path.c_str(), &pImage), c.expected);
        EXPECT_LT(PeakMemory() - nBefore, 50'000);
        const std::unique_ptr<Gdiplus::Image> owner(pImage);
        if (c.expected == 0) {
            EXPECT_EQ(RasterOf(pImage).pixels, Decode(thumbnail).pixels);
        } else {
            EXPECT_EQ(pImage, nullptr);
        }
    }
    Gdiplus::Image* pImage = nullptr;
    EXPECT_EQ(QXGetEmbeddedThumbnailInImage(folder.Add("a.jpg", file).c_str(), &pImage), IML_NO_THUMBNAIL);
    EXPECT_EQ(QXGetEmbeddedThumbnailInImage(folder.Add("a.jpg", {}).c_str(), &pImage), IML_FAILED);
}

}  // namespace

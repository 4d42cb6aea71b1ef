#include <gtest/gtest.h>
#include <png.h>

#include <string>
#include <utility>
#include <vector>

#include "Decode.h"
#include "support/PictureWriter.h"
#include "support/ReferenceResampler.h"

namespace {

using namespace TestSupport;

constexpr int kGrey = PNG_COLOR_TYPE_GRAY, kRgb = PNG_COLOR_TYPE_RGB, kPalette = PNG_COLOR_TYPE_PALETTE,
              kGreyAlpha = PNG_COLOR_TYPE_GRAY_ALPHA, kRgba = PNG_COLOR_TYPE_RGB_ALPHA;

// Every type in every depth that MakePng() has; all but those with alpha with a tRNS chunk, too.
std::vector<PngKind> Kinds() {
    const std::pair<int, std::vector<int>> depths[] = {{kGrey, {1, 2, 4, 8, 16}},
                                                       {kRgb, {8, 16}},
                                                       {kPalette, {1, 4, 8}},
                                                       {kGreyAlpha, {8, 16}},
                                                       {kRgba, {8, 16}}};
    std::vector<PngKind> kinds;
    for (const auto& [type, allBits] : depths) {
        for (const int bits : allBits) {
            for (int i = 0; i < 4; ++i) {
                const bool transparency = i >= 2;
                if (!transparency || (type & PNG_COLOR_MASK_ALPHA) == 0)
                    kinds.push_back({type, bits, i % 2 == 1, transparency});
            }
        }
    }
    return kinds;
}

std::string NameOf(const PngKind& kind) {
    return "type " + std::to_string(kind.colourType) + ", " + std::to_string(kind.bits) + " bits" +
           (kind.interlaced ? ", interlaced" : "") + (kind.transparency ? ", transparency" : "");
}

Raster PatternFor(const PngKind& kind, std::uint32_t nWidth, std::uint32_t nHeight) {
    const bool alpha = (kind.colourType & PNG_COLOR_MASK_ALPHA) != 0;
    return alpha ? AlphaPattern(nWidth, nHeight) : ColourPattern(nWidth, nHeight);
}

// What a file of this kind can hold of the picture.
Raster Expected(const Raster& picture, const PngKind& kind) {
    const bool grey =
        (kind.colourType & PNG_COLOR_MASK_COLOR) == 0 || (kind.colourType == kPalette && kind.bits == 1);
    const bool alpha = kind.transparency || picture.nChannels == 4;
    Raster expected(picture.nWidth, picture.nHeight, alpha ? 4 : 3);
    for (std::size_t i = 0; i < std::size_t{picture.nWidth} * picture.nHeight; ++i) {
        const std::uint8_t* pFrom = &picture.pixels[i * picture.nChannels];
        std::uint8_t* pTo = &expected.pixels[i * expected.nChannels];
        for (std::size_t c = 0; c < 3; ++c)
            pTo[c] = pFrom[grey ? 1 : c];
        if (!alpha) continue;
        const unsigned index = (pTo[0] & 1u) | (pTo[1] & 2u) | (pTo[2] & 4u);
        pTo[3] = picture.nChannels == 4        ? pFrom[3]
                 : kind.colourType != kPalette ? (index == 7 ? 0 : 255)
                                               : kPaletteAlpha[kind.bits == 1 ? index & 1 : index];
    }
    return expected;
}

TEST(Png, DecodesEveryVariant) {
    for (const PngKind& kind : Kinds()) {
        SCOPED_TRACE(NameOf(kind));
        for (std::uint32_t size = 1; size <= 10; ++size) {
            const Raster picture = PatternFor(kind, size, 10 - size / 2);
            EXPECT_EQ(LargestDifference(Decode(MakePng(picture, kind)), Expected(picture, kind)), 0);
        }
        const Raster picture = PatternFor(kind, 61, 43);
        const Raster whole = Expected(picture, kind);
        const Bytes file = MakePng(picture, kind);
        EXPECT_LE(
            LargestDifference(Decode(file, 20, 14), ReferenceResample(whole, {20, 14, whole.nChannels})), 1);
        const TemporaryFolder folder;
        Gdiplus::PixelFormat format = 0;
        EXPECT_EQ(QXGetPixelFormat(folder.Add("a", file).c_str(), &format), 0);
        EXPECT_EQ(Gdiplus::BytesPerPixel(format), whole.nChannels);
    }
}

TEST(Png, ShowsWhatIsThereOfACutOffFile) {
    const Raster picture = ColourPattern(200, 150);
    for (const bool bInterlaced : {false, true}) {
        const Bytes file = MakePng(picture, {.interlaced = bInterlaced});
        for (std::size_t i = 0; i < 40; ++i) {
            const Raster rest = Decode(CutOff(file, file.size() * i / 40));
            EXPECT_EQ(Decode(CutOff(file, file.size() * i / 40), 30, 20).nWidth, rest.nWidth == 0 ? 0 : 30);
            if (i < 20) continue;
            ASSERT_EQ(rest.nWidth, 200u) << i;
            if (bInterlaced) continue;
            EXPECT_EQ(FirstRows(rest, 50).pixels, FirstRows(picture, 50).pixels);
        }
    }
}

TEST(Png, StepsOverWhatIsNoPicture) {
    const Raster picture = ColourPattern(40, 30);
    const Bytes file = MakePng(picture);
    Bytes many;
    for (int i = 0; i < 5000; ++i) {
        const Bytes chunk = MakePngChunk("tEXt", {'a', 0, 'b'});
        many.insert(many.end(), chunk.begin(), chunk.end());
    }
    Bytes damaged = MakePngChunk("iCCP", Bytes(50, 7));
    damaged.back() ^= 1;
    for (const Bytes& between : {MakePngChunk("zTXt", Bytes(3'000'000)), many, damaged})
        EXPECT_EQ(Decode(With(file, 33, between)).pixels, picture.pixels);
}

TEST(Png, RefusesHostileFilesCheaply) {
    const Bytes file = MakePng(ColourPattern(9, 9));
    const Bytes interlaced = MakePng(ColourPattern(9, 9), {.interlaced = true});
    const Bytes palette = MakePng(ColourPattern(9, 9), {kPalette, 4});
    const auto patched = [](Bytes bytes, std::size_t nAt) {
        bytes[nAt] ^= 0x40;
        return bytes;
    };
    const struct {
        const char* pszName;
        Bytes file;
    } cases[] = {
        {"a text of 2 GB", With(file, 33, {0x7F, 0xFF, 0xFF, 0xFF, 't', 'E', 'X', 't', 1, 2, 3})},
        {"more chunks than there may be", With(file, 33, Bytes(12 * 20'000))},
        {"wrong checksum of the header", patched(file, 30)},
        {"wrong checksum of the palette", patched(palette, 33 + 8 + 24)},
        {"no palette",
         [&] {
             Bytes b = palette;
             b.erase(b.begin() + 33, b.begin() + 33 + 36);
             return b;
         }()},
        {"damaged pixels", patched(file, 33 + 8)},
        {"no width", WithPngSize(file, 0, 9)},
        {"no height", WithPngSize(file, 9, 0)},
        {"a million wide", WithPngSize(file, 1'000'000, 1000)},
        {"more than a million wide", WithPngSize(file, 0x7FFFFFFF, 1)},
        {"huge", WithPngSize(file, 30000, 30000)},
        {"huge, interlaced", WithPngSize(interlaced, 30000, 30000)},
        {"nothing but a mark", CutOff(file, 8)},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.pszName);
        const long nBefore = PeakMemory();
        EXPECT_EQ(Decode(c.file).nWidth, 0u);
        EXPECT_EQ(Decode(c.file, 5, 5).nWidth, 0u);
        EXPECT_LT(PeakMemory() - nBefore, 50'000);
    }
}

}  // namespace

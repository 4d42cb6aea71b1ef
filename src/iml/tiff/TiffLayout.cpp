#include "TiffLayout.h"

#include "iml/Limits.h"
#include "iml/PlausibleSize.h"

namespace {

// Compressions that are decoded within the memory that the size of a strip or tile lets expect.
bool IsSupportedCompression(std::uint16_t compression) {
    switch (compression) {
        case COMPRESSION_NONE:
        case COMPRESSION_CCITTRLE:
        case COMPRESSION_CCITTRLEW:
        case COMPRESSION_CCITTFAX3:
        case COMPRESSION_CCITTFAX4:
        case COMPRESSION_LZW:
        case COMPRESSION_OJPEG:
        case COMPRESSION_JPEG:
        case COMPRESSION_ADOBE_DEFLATE:
        case COMPRESSION_DEFLATE:
        case COMPRESSION_PACKBITS:
        case COMPRESSION_ZSTD:
            return TIFFIsCODECConfigured(compression) != 0;
        default:
            return false;
    }
}

// Fax stores an empty row in a single bit, however long it is; all others need more for so many pixels.
bool HasPlausibleSize(const TiffFile& file, const TiffLayout& layout) {
    const auto compression = file.Field<std::uint16_t>(TIFFTAG_COMPRESSION, COMPRESSION_NONE);
    const bool fax = compression == COMPRESSION_CCITTFAX3 || compression == COMPRESSION_CCITTFAX4;
    const std::uint64_t pixels = std::uint64_t{layout.width} * layout.height;
    constexpr std::uint64_t kMaxFaxPixels = std::uint64_t{1} << 28;
    return IsAcceptableSize(layout.width, layout.height) &&
           (fax ? pixels <= kMaxFaxPixels : IsPlausibleSize(pixels, file.Size()));
}

unsigned ColourSamples(TiffColour colour) {
    switch (colour) {
        case TiffColour::kRgb:
            return 3;
        case TiffColour::kCmyk:
            return 4;
        default:
            return 1;
    }
}

bool HasPalette(const TiffFile& file) {
    std::uint16_t* maps[3] = {};
    return TIFFGetField(file.Handle(), TIFFTAG_COLORMAP, &maps[0], &maps[1], &maps[2]) == 1;
}

// False if the samples do not mean colours as they are.
bool ReadColour(const TiffFile& file, const TiffLayout& layout, TiffColour& colour) {
    const std::uint16_t assumed = layout.samples < 3 ? PHOTOMETRIC_MINISBLACK : PHOTOMETRIC_RGB;
    switch (file.Field<std::uint16_t>(TIFFTAG_PHOTOMETRIC, assumed)) {
        case PHOTOMETRIC_MINISWHITE:
            colour = TiffColour::kMinIsWhite;
            return true;
        case PHOTOMETRIC_MINISBLACK:
            colour = TiffColour::kMinIsBlack;
            return true;
        case PHOTOMETRIC_PALETTE:
            colour = TiffColour::kPalette;
            return layout.bits <= 8 && HasPalette(file);
        case PHOTOMETRIC_RGB:
            colour = TiffColour::kRgb;
            return true;
        case PHOTOMETRIC_SEPARATED:
            colour = TiffColour::kCmyk;
            return file.Field<std::uint16_t>(TIFFTAG_INKSET, INKSET_CMYK) == INKSET_CMYK;
        case PHOTOMETRIC_YCBCR:
            colour = TiffColour::kRgb;
            return file.Field<std::uint16_t>(TIFFTAG_COMPRESSION, 0) == COMPRESSION_JPEG &&
                   !layout.separate && layout.samples == 3;
        default:
            return false;
    }
}

// Extra samples of no stated meaning are masks and the like, not transparency.
TiffAlpha ReadAlpha(const TiffFile& file) {
    std::uint16_t nExtra = 0;
    std::uint16_t* pTypes = nullptr;
    if (TIFFGetFieldDefaulted(file.Handle(), TIFFTAG_EXTRASAMPLES, &nExtra, &pTypes) != 1 || nExtra == 0)
        return TiffAlpha::kNone;
    if (pTypes[0] == EXTRASAMPLE_UNASSALPHA) return TiffAlpha::kPlain;
    return pTypes[0] == EXTRASAMPLE_ASSOCALPHA ? TiffAlpha::kPremultiplied : TiffAlpha::kNone;
}

// Whether libtiff turns the samples into colours.
bool CanConvert(const TiffFile& file) {
    const auto photometric = file.Field<std::uint16_t>(TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_RGB);
    char szReason[1024];
    return (photometric == PHOTOMETRIC_YCBCR || photometric == PHOTOMETRIC_CIELAB) &&
           TIFFRGBAImageOK(file.Handle(), szReason) != 0;
}

bool HasWholeNumbers(const TiffFile& file) {
    const auto format = file.Field<std::uint16_t>(TIFFTAG_SAMPLEFORMAT, SAMPLEFORMAT_UINT);
    return format == SAMPLEFORMAT_UINT || format == SAMPLEFORMAT_INT || format == SAMPLEFORMAT_VOID;
}

}  // namespace

unsigned TiffLayout::UsedSamples() const {
    return ColourSamples(colour) + (alpha == TiffAlpha::kNone ? 0 : 1);
}

bool ReadTiffLayout(const TiffFile& file, TiffLayout& layout) {
    layout = {};
    layout.width = file.Field<std::uint32_t>(TIFFTAG_IMAGEWIDTH, 0);
    layout.height = file.Field<std::uint32_t>(TIFFTAG_IMAGELENGTH, 0);
    if (!HasPlausibleSize(file, layout) || !HasWholeNumbers(file) ||
        !IsSupportedCompression(file.Field<std::uint16_t>(TIFFTAG_COMPRESSION, COMPRESSION_NONE)))
        return false;
    layout.tiled = TIFFIsTiled(file.Handle()) != 0;
    layout.bits = file.Field<std::uint16_t>(TIFFTAG_BITSPERSAMPLE, 1);
    layout.samples = file.Field<std::uint16_t>(TIFFTAG_SAMPLESPERPIXEL, 1);
    layout.separate =
        layout.samples > 1 &&
        file.Field<std::uint16_t>(TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG) == PLANARCONFIG_SEPARATE;
    if (layout.bits != 1 && layout.bits != 2 && layout.bits != 4 && layout.bits != 8 && layout.bits != 16)
        return false;
    if (ReadColour(file, layout, layout.colour) && ColourSamples(layout.colour) <= layout.samples) {
        if (layout.samples > ColourSamples(layout.colour)) layout.alpha = ReadAlpha(file);
        return true;
    }

    if (!CanConvert(file)) return false;
    layout.converted = true;
    layout.separate = false;
    layout.colour = TiffColour::kRgb;
    layout.bits = 8;
    layout.samples = 4;
    return true;
}

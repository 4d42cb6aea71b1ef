#pragma once

#include <cstdint>
#include <string_view>

#include "PictureFiles.h"
#include "Raster.h"

/// Makes JPEG and PNG files in memory, in the variants that decoders have to cope with.
namespace TestSupport {

enum class JpegColours { YCbCr, Rgb, Grey, Cmyk, AdobeCmyk, AdobeYcck };

enum class JpegScans {
    Baseline,
    SeparateBaseline,  // one scan a component
    Progressive,       // as encoders make them
    LateDc,            // the last bits of DC come after all AC
    SeparateDc,        // DC in one scan a component, two bits of it in scans of their own
};

struct JpegKind {
    JpegColours colours = JpegColours::YCbCr;
    int horizontal = 1;  // sampling of luma, or of the first ink, against the rest
    int vertical = 1;
    JpegScans scans = JpegScans::Baseline;
    unsigned restartInterval = 0;  // MCUs
    int quality = 95;
    bool optimised = false;  // Huffman codes made for the picture
    bool extended = false;   // quantisers may be larger than baseline has them
    int restHorizontal = 1;  // sampling of the other components
    int restVertical = 1;
};
Bytes MakeJpeg(const Raster& picture, const JpegKind& kind = {});

/// The file with a segment right behind its first marker.
Bytes WithSegment(const Bytes& jpeg, std::uint8_t nMarker, const Bytes& content);

/// The content of an EXIF segment with these fields of the thumbnail, and the thumbnail where they say.
struct ExifKind {
    bool bigEndian = false;
    std::uint32_t firstDirectory = 8;
    std::uint32_t secondDirectory = 26;
    std::uint16_t fields = 2;  // that the second directory claims to have
    std::uint32_t offset = 56;
    std::uint32_t length = 0;  // 0: the thumbnail's own
};
Bytes MakeExif(const Bytes& thumbnail, const ExifKind& kind = {});

/// The file with another size in its frame header. Nothing else of it changes.
Bytes WithJpegSize(Bytes jpeg, std::uint32_t nWidth, std::uint32_t nHeight);

/// Values as libpng names them. Greys are GreyOf() the picture. A palette is that of ColourPattern(), in the
/// order of the bits that blue, green and red have.
struct PngKind {
    int colourType = 2;
    int bits = 8;
    bool interlaced = false;
    bool transparency = false;  // a tRNS chunk, see below
};
Bytes MakePng(const Raster& picture, const PngKind& kind = {});

/// Alpha of the palette's entries in files with a tRNS chunk. In others white is the transparent colour.
inline constexpr std::uint8_t kPaletteAlpha[8] = {255, 0, 128, 255, 64, 255, 255, 200};

/// A PNG chunk, with its checksum.
Bytes MakePngChunk(std::string_view type, const Bytes& content);

/// The file with another header: size, and with a right checksum. Nothing else of it changes.
Bytes WithPngSize(Bytes png, std::uint32_t nWidth, std::uint32_t nHeight);

}  // namespace TestSupport

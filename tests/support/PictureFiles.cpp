#include "PictureFiles.h"

#include <gif_lib.h>
#include <sys/mman.h>
#include <tiffio.h>
#include <unistd.h>
#include <webp/encode.h>

#include <algorithm>
#include <cstring>
#include <string_view>

using namespace std::string_view_literals;

namespace TestSupport {
namespace {

void AppendNumber(Bytes& bytes, std::uint64_t value, unsigned nBytes) {
    for (unsigned i = 0; i < nBytes; ++i, value >>= 8)
        bytes.push_back(static_cast<std::uint8_t>(value));
}

const std::uint8_t* PixelAt(const Raster& picture, std::size_t x, std::size_t y) {
    return picture.Row(y) + x * picture.nChannels;
}

std::uint8_t IndexOf(const std::uint8_t* pPixel) {
    return static_cast<std::uint8_t>((pPixel[0] & 1) | (pPixel[1] & 2) | (pPixel[2] & 4));
}

// Adds values of some bits each, the first at the top of its byte.
void AppendPacked(Bytes& bytes, const std::vector<unsigned>& values, unsigned bits) {
    for (std::size_t i = 0; i < values.size(); ++i) {
        if (i * bits % 8 == 0) bytes.push_back(0);
        bytes.back() = static_cast<std::uint8_t>(bytes.back() | values[i] << (8 - bits - i * bits % 8));
    }
}

std::vector<unsigned> IndicesOf(const Raster& picture, std::uint32_t y, unsigned bits) {
    std::vector<unsigned> indices;
    for (std::uint32_t x = 0; x < picture.nWidth; ++x) {
        const unsigned index = IndexOf(PixelAt(picture, x, y));
        indices.push_back(bits == 1 ? index >> 1 & 1 : index);
    }
    return indices;
}

// Even rows as runs, odd rows as copied pixels.
void AppendRunLength(Bytes& bytes, const std::vector<unsigned>& indices, unsigned bits, bool runs) {
    for (std::size_t x = 0, end = 0; runs && x < indices.size(); x = end) {
        while (end < indices.size() && indices[end] == indices[x])
            ++end;
        AppendNumber(bytes, end - x, 1);
        AppendNumber(bytes, bits == 4 ? indices[x] * 0x11 : indices[x], 1);
    }
    if (!runs) {
        AppendNumber(bytes, indices.size() << 8, 2);
        AppendPacked(bytes, indices, bits);
        if (bytes.size() % 2 != 0) bytes.push_back(0);
    }
    AppendNumber(bytes, 0, 2);
}

void AppendBmpRow(Bytes& bytes, const Raster& picture, std::uint32_t y, const BmpKind& kind) {
    if (kind.compression == 1 || kind.compression == 2)
        return AppendRunLength(bytes, IndicesOf(picture, y, kind.bits), kind.bits, y % 2 == 0);
    const std::size_t nStart = bytes.size();
    if (kind.bits <= 8) AppendPacked(bytes, IndicesOf(picture, y, kind.bits), kind.bits);
    for (std::uint32_t x = 0; kind.bits > 8 && x < picture.nWidth; ++x) {
        std::uint64_t value = 0;
        for (unsigned i = 0; i < picture.nChannels; ++i)
            value |= kind.masks[i] & std::uint64_t{kind.masks[i]} * PixelAt(picture, x, y)[i] / 255;
        AppendNumber(bytes, value, kind.bits / 8);
    }
    while ((bytes.size() - nStart) % 4 != 0)
        bytes.push_back(0);
}

int WriteGif(GifFileType* pGif, const GifByteType* pBytes, int nBytes) {
    auto& bytes = *static_cast<Bytes*>(pGif->UserData);
    bytes.insert(bytes.end(), pBytes, pBytes + nBytes);
    return nBytes;
}

// The samples of a pixel, 0 to 255, or an index.
std::vector<unsigned> SamplesOf(const std::uint8_t* pPixel, const TiffKind& kind) {
    const unsigned alpha = kind.alpha != 0 ? pPixel[3] : 255;
    const auto premultiply = [&](unsigned v) {
        return kind.alpha == EXTRASAMPLE_ASSOCALPHA ? v * alpha / 255 : v;
    };
    const unsigned blue = premultiply(pPixel[0]);
    const unsigned green = premultiply(pPixel[1]);
    const unsigned red = premultiply(pPixel[2]);
    std::vector<unsigned> samples = {green};
    if (kind.photometric == PHOTOMETRIC_MINISWHITE) samples = {255 - green};
    if (kind.photometric == PHOTOMETRIC_PALETTE) samples = {IndexOf(pPixel)};
    if (kind.photometric == PHOTOMETRIC_RGB) samples = {red, green, blue};
    if (kind.photometric == PHOTOMETRIC_SEPARATED) {
        // Black where it replaces all three colours, colours elsewhere.
        const unsigned black = std::max({red, green, blue}) == 0 ? 255 : 0;
        samples = {255 - red - black, 255 - green - black, 255 - blue - black, black};
    }
    if (kind.photometric == PHOTOMETRIC_YCBCR) {
        samples = {green, 128, 128};
        if (kind.compression == COMPRESSION_JPEG) samples = {red, green, blue};
    }
    if (kind.alpha != 0) samples.push_back(alpha);
    return samples;
}

// Adds some columns of a row as they are stored, of all samples or of one. Outside the picture is black.
void AppendStored(Bytes& bytes, const Raster& picture, const TiffKind& kind, std::uint32_t y,
                  std::uint32_t nLeft, std::uint32_t nColumns, int plane) {
    std::vector<unsigned> values;
    for (std::uint32_t x = nLeft; x < nLeft + nColumns; ++x) {
        const std::uint8_t blank[4] = {};
        const bool inside = x < picture.nWidth && y < picture.nHeight;
        auto samples = SamplesOf(inside ? PixelAt(picture, x, y) : blank, kind);
        if (plane >= 0) samples = {samples[static_cast<std::size_t>(plane)]};
        values.insert(values.end(), samples.begin(), samples.end());
    }
    if (kind.bits == 16) {
        for (const unsigned value : values)
            AppendNumber(bytes, value * 257, 2);
        return;
    }
    if (kind.photometric != PHOTOMETRIC_PALETTE) {
        for (unsigned& value : values)
            value >>= 8 - kind.bits;
    }
    AppendPacked(bytes, values, kind.bits);
}

void SetTiffTags(TIFF* pTiff, const Raster& picture, const TiffKind& kind, int nSamples) {
    TIFFSetField(pTiff, TIFFTAG_IMAGEWIDTH, picture.nWidth);
    TIFFSetField(pTiff, TIFFTAG_IMAGELENGTH, picture.nHeight);
    TIFFSetField(pTiff, TIFFTAG_BITSPERSAMPLE, kind.bits);
    TIFFSetField(pTiff, TIFFTAG_SAMPLESPERPIXEL, nSamples);
    TIFFSetField(pTiff, TIFFTAG_COMPRESSION, kind.compression);
    TIFFSetField(pTiff, TIFFTAG_PHOTOMETRIC, kind.photometric);
    TIFFSetField(pTiff, TIFFTAG_ORIENTATION, kind.orientation);
    TIFFSetField(pTiff, TIFFTAG_PLANARCONFIG, kind.separate ? PLANARCONFIG_SEPARATE : PLANARCONFIG_CONTIG);
    if (kind.alpha != 0) TIFFSetField(pTiff, TIFFTAG_EXTRASAMPLES, 1, &kind.alpha);
    if (kind.photometric == PHOTOMETRIC_YCBCR) {
        if (kind.compression == COMPRESSION_JPEG)
            TIFFSetField(pTiff, TIFFTAG_JPEGCOLORMODE, JPEGCOLORMODE_RGB);
        if (kind.compression != COMPRESSION_JPEG) TIFFSetField(pTiff, TIFFTAG_YCBCRSUBSAMPLING, 1, 1);
    }
    if (kind.photometric == PHOTOMETRIC_PALETTE) {
        std::array<std::vector<std::uint16_t>, 3> maps;  // red, green, blue
        for (std::size_t channel = 0; channel < 3; ++channel) {
            for (unsigned i = 0; i < 1u << kind.bits; ++i)
                maps[channel].push_back((i >> (2 - channel) & 1) * 0xFFFF);
        }
        TIFFSetField(pTiff, TIFFTAG_COLORMAP, maps[0].data(), maps[1].data(), maps[2].data());
    }
    if (kind.tile != 0) {
        TIFFSetField(pTiff, TIFFTAG_TILEWIDTH, kind.tile);
        TIFFSetField(pTiff, TIFFTAG_TILELENGTH, kind.tile);
    } else {
        TIFFSetField(pTiff, TIFFTAG_ROWSPERSTRIP, kind.rowsPerStrip);
    }
}

std::uint64_t NumberAt(const Bytes& bytes, std::size_t nAt, unsigned nBytes) {
    std::uint64_t value = 0;
    for (unsigned i = nBytes; i-- > 0;)
        value = value << 8 | bytes[nAt + i];
    return value;
}

// Moves the directory, which libtiff writes behind the pixels, before them, so that a file that is cut off
// still has it. Only for files of the ordinary kind.
void MoveDirectoryToFront(Bytes& bytes) {
    if (bytes[0] != 'I' || bytes[2] != 42) return;
    const std::size_t nDirectory = NumberAt(bytes, 4, 4);
    const std::uint64_t nMoved = bytes.size() - nDirectory;
    std::rotate(bytes.begin() + 8, bytes.begin() + static_cast<std::ptrdiff_t>(nDirectory), bytes.end());
    SetNumber(bytes, 4, 4, 8);
    for (std::size_t i = 0, nAt = 10; i < NumberAt(bytes, 8, 2); ++i, nAt += 12) {
        constexpr unsigned kSizes[] = {0, 1, 1, 2, 4, 8, 1, 1};  // of the types
        const std::uint64_t nTag = NumberAt(bytes, nAt, 2);
        const unsigned nSize = kSizes[NumberAt(bytes, nAt + 2, 2)];
        const std::uint64_t nCount = NumberAt(bytes, nAt + 4, 4);
        if (nSize * nCount > 4) SetNumber(bytes, nAt + 8, 4, NumberAt(bytes, nAt + 8, 4) + 8 - nDirectory);
        if (nTag != TIFFTAG_STRIPOFFSETS && nTag != TIFFTAG_TILEOFFSETS) continue;
        const std::size_t nValues = nSize * nCount > 4 ? NumberAt(bytes, nAt + 8, 4) : nAt + 8;
        for (std::size_t j = nValues; j < nValues + nSize * nCount; j += nSize)
            SetNumber(bytes, j, nSize, NumberAt(bytes, j, nSize) + nMoved);
    }
}

}  // namespace

Raster ColourPattern(std::uint32_t nWidth, std::uint32_t nHeight) {
    Raster picture(nWidth, nHeight, 3);
    for (std::uint32_t y = 0; y < nHeight; ++y) {
        for (std::uint32_t x = 0; x < nWidth; ++x) {
            const std::uint32_t mixed = (x / 3 + 1) * 0x9E3779B1u ^ (y + 7) * 0x85EBCA6Bu;
            for (unsigned i = 0; i < 3; ++i)
                picture.Row(y)[3 * x + i] = (mixed >> (17 + i) & 1) != 0 ? 255 : 0;
        }
    }
    return picture;
}

Raster AlphaPattern(std::uint32_t nWidth, std::uint32_t nHeight) {
    Raster picture = OnCanvas(ColourPattern(nWidth, nHeight), nWidth, nHeight, 0, 0);
    for (std::size_t i = 0; i < picture.pixels.size(); i += 4) {
        constexpr std::uint8_t kAlpha[] = {0, 128, 255};
        picture.pixels[i + 3] = kAlpha[i / 4 % 3];
        if (picture.pixels[i + 3] == 0) std::memset(&picture.pixels[i], 0, 3);
    }
    return picture;
}

Raster SmoothPattern(std::uint32_t nWidth, std::uint32_t nHeight) {
    Raster picture(nWidth, nHeight, 3);
    for (std::uint32_t y = 0; y < nHeight; ++y) {
        for (std::uint32_t x = 0; x < nWidth; ++x) {
            std::uint8_t* pPixel = picture.Row(y) + 3 * x;
            pPixel[0] = static_cast<std::uint8_t>(x * 255 / nWidth);
            pPixel[1] = static_cast<std::uint8_t>(y * 255 / nHeight);
            pPixel[2] = static_cast<std::uint8_t>(255 - pPixel[0] / 2 - pPixel[1] / 2);
        }
    }
    return picture;
}

Raster GreyOf(const Raster& picture) {
    Raster grey(picture.nWidth, picture.nHeight, 3);
    for (std::size_t i = 0; i < grey.pixels.size(); ++i)
        grey.pixels[i] = picture.pixels[i / 3 * picture.nChannels + 1];
    return grey;
}

Raster OnCanvas(const Raster& picture, std::uint32_t nWidth, std::uint32_t nHeight, std::uint32_t nLeft,
                std::uint32_t nTop) {
    Raster canvas(nWidth, nHeight, 4);
    for (std::uint32_t y = 0; y < picture.nHeight && nTop + y < nHeight; ++y) {
        for (std::uint32_t x = 0; x < picture.nWidth && nLeft + x < nWidth; ++x) {
            std::uint8_t* pTo = canvas.Row(nTop + y) + std::size_t{4} * (nLeft + x);
            pTo[3] = 255;
            std::memcpy(pTo, PixelAt(picture, x, y), picture.nChannels);
        }
    }
    return canvas;
}

Bytes MakeBmp(const Raster& picture, const BmpKind& given) {
    BmpKind kind = given;
    if (kind.masks == std::array<std::uint32_t, 4>{}) {
        kind.masks = {0xFF, 0xFF00, 0xFF0000, 0};
        if (kind.bits == 16) kind.masks = {0x1F, 0x3E0, 0x7C00, 0};
    }
    Bytes bytes = {'B', 'M'};
    AppendNumber(bytes, 0, 12);  // offset of the pixels, below
    AppendNumber(bytes, kind.header, 4);
    const bool core = kind.header == 12;
    const std::uint32_t nHeight = kind.topDown ? 0u - picture.nHeight : picture.nHeight;
    AppendNumber(bytes, picture.nWidth, core ? 2 : 4);
    AppendNumber(bytes, nHeight, core ? 2 : 4);
    AppendNumber(bytes, 1, 2);
    AppendNumber(bytes, kind.bits, 2);
    if (!core) {
        AppendNumber(bytes, kind.compression, 4);
        AppendNumber(bytes, 0, 20);
    }
    if (kind.compression == 3 || kind.compression == 6) {
        for (const std::size_t i : {2u, 1u, 0u})
            AppendNumber(bytes, kind.masks[i], 4);
        if (kind.compression == 6 || kind.header >= 56) AppendNumber(bytes, kind.masks[3], 4);
    }
    bytes.resize(std::max<std::size_t>(bytes.size(), 14 + kind.header));
    for (unsigned i = 0; kind.bits <= 8 && i < 1u << kind.bits; ++i) {
        const unsigned colour = kind.bits == 1 ? i * 7 : i;
        for (unsigned channel = 0; channel < 3; ++channel)
            bytes.push_back((colour >> channel & 1) != 0 ? 255 : 0);
        if (!core) bytes.push_back(0);
    }
    SetNumber(bytes, 10, 4, bytes.size());
    for (std::uint32_t i = 0; i < picture.nHeight; ++i) {
        const std::uint32_t y = kind.topDown ? i : picture.nHeight - 1 - i;
        AppendBmpRow(bytes, picture, y, kind);
    }
    return bytes;
}

Bytes MakeGif(const Raster& picture, const GifKind& kind) {
    Bytes bytes;
    GifFileType* pGif = EGifOpen(&bytes, WriteGif, nullptr);
    GifColorType colours[8];
    for (unsigned i = 0; i < 8; ++i) {
        const auto channel = [i](unsigned bit) { return static_cast<GifByteType>((i >> bit & 1) * 255); };
        colours[i] = {channel(2), channel(1), channel(0)};
    }
    ColorMapObject* pColours = GifMakeMapObject(8, colours);
    const auto width = static_cast<int>(picture.nWidth);
    const auto height = static_cast<int>(picture.nHeight);
    EGifSetGifVersion(pGif, true);
    EGifPutScreenDesc(pGif, kind.canvasWidth != 0 ? static_cast<int>(kind.canvasWidth) : width,
                      kind.canvasHeight != 0 ? static_cast<int>(kind.canvasHeight) : height, 8, 0,
                      kind.localColours ? nullptr : pColours);
    EGifPutComment(pGif, "a comment before the frame");
    if (kind.transparent >= 0) {
        const GraphicsControlBlock control = {DISPOSAL_UNSPECIFIED, false, 0, kind.transparent};
        GifByteType extension[4];
        EGifPutExtension(pGif, GRAPHICS_EXT_FUNC_CODE,
                         static_cast<int>(EGifGCBToExtension(&control, extension)), extension);
    }
    EGifPutImageDesc(pGif, static_cast<int>(kind.left), static_cast<int>(kind.top), width, height,
                     kind.interlaced, kind.localColours ? pColours : nullptr);
    const auto putRows = [&](std::uint32_t first, std::uint32_t step) {
        for (std::uint32_t y = first; y < picture.nHeight; y += step) {
            const std::vector<unsigned> indices = IndicesOf(picture, y, 8);
            Bytes row(indices.begin(), indices.end());
            EGifPutLine(pGif, row.data(), width);
        }
    };
    if (kind.interlaced) {
        putRows(0, 8), putRows(4, 8), putRows(2, 4), putRows(1, 2);
    } else {
        putRows(0, 1);
    }
    EGifCloseFile(pGif, nullptr);
    GifFreeMapObject(pColours);
    return bytes;
}

Bytes MakeWebp(const Raster& picture, bool lossless) {
    const auto width = static_cast<int>(picture.nWidth);
    const auto height = static_cast<int>(picture.nHeight);
    const auto stride = static_cast<int>(picture.Stride());
    const bool alpha = picture.nChannels == 4;
    std::uint8_t* pOut = nullptr;
    std::size_t nSize = 0;
    if (lossless) {
        nSize = (alpha ? WebPEncodeLosslessBGRA : WebPEncodeLosslessBGR)(picture.pixels.data(), width, height,
                                                                         stride, &pOut);
    } else {
        nSize =
            (alpha ? WebPEncodeBGRA : WebPEncodeBGR)(picture.pixels.data(), width, height, stride, 95, &pOut);
    }
    const Bytes bytes(pOut, pOut + nSize);
    WebPFree(pOut);
    return bytes;
}

Bytes MakeAnimatedWebp(const Raster& picture, bool lossless, std::uint32_t nCanvasWidth,
                       std::uint32_t nCanvasHeight, std::uint32_t nLeft, std::uint32_t nTop) {
    const Bytes still = MakeWebp(picture, lossless);
    // Behind the file's head, and the head of the extended format if alpha has made it necessary.
    const bool extended = std::string_view(reinterpret_cast<const char*>(still.data()) + 12, 4) == "VP8X";
    const Bytes data(still.begin() + (extended ? 30 : 12), still.end());
    constexpr std::string_view kHead =
        "RIFF....WEBPVP8X\x0A\0\0\0\x12\0\0\0wwwhhhANIM\6\0\0\0\xFF\xFF\xFF\xFF\0\0ANMF....xxxyyywwwhhh...."sv;
    Bytes bytes(kHead.begin(), kHead.end());
    SetNumber(bytes, 4, 4, kHead.size() - 8 + data.size());
    SetNumber(bytes, 24, 3, nCanvasWidth - 1);
    SetNumber(bytes, 27, 3, nCanvasHeight - 1);
    SetNumber(bytes, 48, 4, 16 + data.size());
    SetNumber(bytes, 52, 3, nLeft / 2);
    SetNumber(bytes, 55, 3, nTop / 2);
    SetNumber(bytes, 58, 3, picture.nWidth - 1);
    SetNumber(bytes, 61, 3, picture.nHeight - 1);
    SetNumber(bytes, 64, 4, 100);  // shown for 0.1 s
    bytes.insert(bytes.end(), data.begin(), data.end());
    return bytes;
}

Bytes MakeTiff(const Raster& picture, const TiffKind& kind) {
    const int nDescriptor = memfd_create("tiff", 0);
    const int nSecond = dup(nDescriptor);  // libtiff closes the first
    TIFF* pTiff = TIFFFdOpen(nDescriptor, "", kind.pszMode);
    const auto nSamples = static_cast<int>(SamplesOf(picture.Row(0), kind).size());
    SetTiffTags(pTiff, picture, kind, nSamples);
    const std::uint32_t nColumns = kind.tile != 0 ? kind.tile : picture.nWidth;
    const std::uint32_t nRows = kind.tile != 0 ? kind.tile : 1;
    for (int plane = 0; plane < (kind.separate ? nSamples : 1); ++plane) {
        const auto sample = static_cast<std::uint16_t>(plane);
        for (std::uint32_t y = 0; y < picture.nHeight; y += nRows) {
            for (std::uint32_t x = 0; x < picture.nWidth; x += nColumns) {
                Bytes block;
                for (std::uint32_t i = 0; i < nRows; ++i)
                    AppendStored(block, picture, kind, y + i, x, nColumns, kind.separate ? plane : -1);
                if (kind.tile != 0) TIFFWriteTile(pTiff, block.data(), x, y, 0, sample);
                if (kind.tile == 0) TIFFWriteScanline(pTiff, block.data(), y, sample);
            }
        }
    }
    TIFFClose(pTiff);
    Bytes bytes(static_cast<std::size_t>(lseek(nSecond, 0, SEEK_END)));
    if (pread(nSecond, bytes.data(), bytes.size(), 0) < 0) bytes.clear();
    close(nSecond);
    MoveDirectoryToFront(bytes);
    return bytes;
}

void SetTiffTag(Bytes& file, std::uint16_t nTag, std::uint32_t value) {
    for (std::size_t i = 0, nAt = 10; i < NumberAt(file, 8, 2); ++i, nAt += 12) {
        if (NumberAt(file, nAt, 2) != nTag) continue;
        SetNumber(file, nAt + 2, 2, TIFF_LONG);
        SetNumber(file, nAt + 8, 4, value);
    }
}

void SetNumber(Bytes& bytes, std::size_t nAt, unsigned nBytes, std::uint64_t value) {
    for (unsigned i = 0; i < nBytes; ++i, value >>= 8)
        bytes[nAt + i] = static_cast<std::uint8_t>(value);
}

}  // namespace TestSupport

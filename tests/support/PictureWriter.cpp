#include "PictureWriter.h"

#include <png.h>
#include <zlib.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include <jpeglib.h>

namespace TestSupport {
namespace {

void AppendBigEndian(Bytes& bytes, std::uint32_t value, unsigned nBytes) {
    while (nBytes-- > 0)
        bytes.push_back(static_cast<std::uint8_t>(value >> 8 * nBytes));
}

void PutBigEndian(Bytes& bytes, std::size_t nAt, std::uint32_t value, unsigned nBytes) {
    Bytes number;
    AppendBigEndian(number, value, nBytes);
    std::ranges::copy(number, bytes.begin() + static_cast<std::ptrdiff_t>(nAt));
}

bool IsCmyk(JpegColours colours) {
    return colours >= JpegColours::Cmyk;
}

// Inks with as much black as the colour allows; Adobe's files store paper as 255, others as 0.
Bytes InksOf(const std::uint8_t* pColour, std::uint32_t nPixels, bool adobe) {
    Bytes inks;
    for (; nPixels > 0; --nPixels, pColour += 3) {
        const unsigned light = std::max({pColour[0], pColour[1], pColour[2], std::uint8_t{1}});
        for (const unsigned value :
             {pColour[2] * 255u / light, pColour[1] * 255u / light, pColour[0] * 255u / light, light})
            inks.push_back(static_cast<std::uint8_t>(adobe ? value : 255 - value));
    }
    return inks;
}

const jpeg_scan_info kLateDc[] = {
    {3, {0, 1, 2}, 0, 0, 0, 1}, {1, {0}, 1, 63, 0, 1}, {1, {1}, 1, 63, 0, 0},
    {1, {2}, 1, 63, 0, 0},      {1, {0}, 1, 63, 1, 0}, {3, {0, 1, 2}, 0, 0, 1, 0},
};
const jpeg_scan_info kSeparateDc[] = {
    {1, {0}, 0, 0, 0, 2}, {1, {0}, 1, 63, 0, 0}, {1, {2}, 0, 0, 0, 0},  {1, {1}, 0, 0, 0, 0},
    {1, {0}, 0, 0, 2, 1}, {1, {1}, 1, 63, 0, 0}, {1, {2}, 1, 63, 0, 0}, {1, {0}, 0, 0, 1, 0},
};

const jpeg_scan_info kSeparateBaseline[] = {
    {1, {0}, 0, 63, 0, 0},
    {1, {1}, 0, 63, 0, 0},
    {1, {2}, 0, 63, 0, 0},
};

template <std::size_t nScans>
void SetScans(jpeg_compress_struct& info, const jpeg_scan_info (&scans)[nScans]) {
    info.scan_info = scans;
    info.num_scans = static_cast<int>(nScans);
}

void SetUp(jpeg_compress_struct& info, const JpegKind& kind) {
    static constexpr J_COLOR_SPACE kStored[] = {JCS_YCbCr, JCS_RGB,  JCS_GRAYSCALE,
                                                JCS_CMYK,  JCS_CMYK, JCS_YCCK};
    info.in_color_space = IsCmyk(kind.colours) ? JCS_CMYK : JCS_EXT_BGR;
    info.input_components = IsCmyk(kind.colours) ? 4 : 3;
    jpeg_set_defaults(&info);
    jpeg_set_colorspace(&info, kStored[static_cast<int>(kind.colours)]);
    if (kind.colours == JpegColours::Cmyk) info.write_Adobe_marker = FALSE;
    jpeg_set_quality(&info, kind.quality, kind.extended ? FALSE : TRUE);
    info.optimize_coding = kind.optimised ? TRUE : FALSE;
    for (int i = 0; i < info.num_components; ++i) {
        info.comp_info[i].h_samp_factor = kind.restHorizontal;
        info.comp_info[i].v_samp_factor = kind.restVertical;
    }
    info.comp_info[0].h_samp_factor = kind.horizontal;
    info.comp_info[0].v_samp_factor = kind.vertical;
    info.restart_interval = kind.restartInterval;
    if (kind.scans == JpegScans::Progressive) jpeg_simple_progression(&info);
    if (kind.scans == JpegScans::LateDc) SetScans(info, kLateDc);
    if (kind.scans == JpegScans::SeparateDc) SetScans(info, kSeparateDc);
    if (kind.scans == JpegScans::SeparateBaseline) SetScans(info, kSeparateBaseline);
}

void AppendPngBytes(png_structp pPng, png_bytep pBytes, std::size_t nBytes) {
    auto& out = *static_cast<Bytes*>(png_get_io_ptr(pPng));
    out.insert(out.end(), pBytes, pBytes + nBytes);
}

// The channels of a pixel in PNG's order, or its palette index, each in as many bytes as it takes unpacked.
void AppendPngSamples(Bytes& row, const std::uint8_t* pPixel, const PngKind& kind) {
    std::vector<unsigned> samples;
    if (kind.colourType == PNG_COLOR_TYPE_PALETTE) {
        samples = {(pPixel[0] & 1u) | (pPixel[1] & 2u) | (pPixel[2] & 4u)};
        if (kind.bits == 1) samples[0] = samples[0] >> 1 & 1;
    } else if ((kind.colourType & PNG_COLOR_MASK_COLOR) == 0) {
        samples = {unsigned{pPixel[1]} >> std::max(8 - kind.bits, 0)};
    } else {
        samples = {pPixel[2], pPixel[1], pPixel[0]};
    }
    if ((kind.colourType & PNG_COLOR_MASK_ALPHA) != 0) samples.push_back(pPixel[3]);
    for (const unsigned sample : samples)
        row.insert(row.end(), kind.bits == 16 ? 2 : 1, static_cast<std::uint8_t>(sample));
}

void SetPalette(png_structp pPng, png_infop pInfo, const PngKind& kind) {
    png_color colours[8];
    for (unsigned i = 0; i < 8; ++i) {
        const auto channel = [i](unsigned bit) { return static_cast<png_byte>((i >> bit & 1) * 255); };
        colours[i] = {channel(2), channel(1), channel(0)};
    }
    if (kind.bits == 1) colours[1] = {255, 255, 255};
    const int nEntries = std::min(8, 1 << kind.bits);
    png_set_PLTE(pPng, pInfo, colours, nEntries);
    if (kind.transparency) png_set_tRNS(pPng, pInfo, kPaletteAlpha, nEntries, nullptr);
}

}  // namespace

Bytes MakeJpeg(const Raster& picture, const JpegKind& kind) {
    jpeg_compress_struct info{};
    jpeg_error_mgr error;
    info.err = jpeg_std_error(&error);
    error.emit_message = [](j_common_ptr, int) {};  // that quantisers are coarse is wanted
    jpeg_create_compress(&info);
    unsigned char* pOut = nullptr;
    unsigned long nSize = 0;
    jpeg_mem_dest(&info, &pOut, &nSize);
    info.image_width = picture.nWidth;
    info.image_height = picture.nHeight;
    SetUp(info, kind);
    jpeg_start_compress(&info, TRUE);
    for (std::uint32_t y = 0; y < picture.nHeight; ++y) {
        const bool adobe = kind.colours != JpegColours::Cmyk;
        Bytes row = IsCmyk(kind.colours) ? InksOf(picture.Row(y), picture.nWidth, adobe)
                                         : Bytes(picture.Row(y), picture.Row(y) + picture.Stride());
        JSAMPROW rows[] = {row.data()};
        jpeg_write_scanlines(&info, rows, 1);
    }
    jpeg_finish_compress(&info);
    jpeg_destroy_compress(&info);
    const Bytes bytes(pOut, pOut + nSize);
    std::free(pOut);
    return bytes;
}

Bytes WithSegment(const Bytes& jpeg, std::uint8_t nMarker, const Bytes& content) {
    Bytes bytes = {0xFF, 0xD8, 0xFF, nMarker};
    AppendBigEndian(bytes, static_cast<std::uint32_t>(content.size() + 2), 2);
    bytes.insert(bytes.end(), content.begin(), content.end());
    bytes.insert(bytes.end(), jpeg.begin() + 2, jpeg.end());
    return bytes;
}

Bytes MakeExif(const Bytes& thumbnail, const ExifKind& kind) {
    Bytes bytes = {'E', 'x', 'i', 'f', 0, 0};
    const auto number = [&](std::uint32_t value, unsigned nBytes) {
        AppendBigEndian(bytes, value, nBytes);
        if (!kind.bigEndian) std::reverse(bytes.end() - nBytes, bytes.end());
    };
    const auto field = [&](std::uint32_t tag, std::uint32_t type, std::uint32_t value) {
        number(tag, 2), number(type, 2), number(1, 4), number(value, 4);
    };
    bytes.insert(bytes.end(), 2, kind.bigEndian ? 'M' : 'I');
    number(42, 2), number(kind.firstDirectory, 4);
    number(1, 2), field(0x0112, 4, 1), number(kind.secondDirectory, 4);  // ends at 26
    number(kind.fields, 2);
    field(0x0201, 4, kind.offset);
    field(0x0202, 4, kind.length != 0 ? kind.length : static_cast<std::uint32_t>(thumbnail.size()));
    number(0, 4);  // ends at 56
    bytes.insert(bytes.end(), thumbnail.begin(), thumbnail.end());
    return bytes;
}

Bytes WithJpegSize(Bytes jpeg, std::uint32_t nWidth, std::uint32_t nHeight) {
    std::size_t nAt = 2;
    while (jpeg[nAt + 1] < 0xC0 || jpeg[nAt + 1] > 0xC2)
        nAt += 2u + jpeg[nAt + 2] * 256u + jpeg[nAt + 3];
    PutBigEndian(jpeg, nAt + 5, nHeight, 2);
    PutBigEndian(jpeg, nAt + 7, nWidth, 2);
    return jpeg;
}

Bytes MakePng(const Raster& picture, const PngKind& kind) {
    Bytes bytes;
    png_structp pPng = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop pInfo = png_create_info_struct(pPng);
    png_set_write_fn(pPng, &bytes, AppendPngBytes, nullptr);
    png_set_IHDR(pPng, pInfo, picture.nWidth, picture.nHeight, kind.bits, kind.colourType,
                 kind.interlaced ? PNG_INTERLACE_ADAM7 : PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
                 PNG_FILTER_TYPE_DEFAULT);
    if (kind.colourType == PNG_COLOR_TYPE_PALETTE) {
        SetPalette(pPng, pInfo, kind);
    } else if (kind.transparency) {
        const auto white = static_cast<png_uint_16>((1 << kind.bits) - 1);
        const png_color_16 key = {0, white, white, white, white};
        png_set_tRNS(pPng, pInfo, nullptr, 0, &key);
    }
    png_write_info(pPng, pInfo);
    png_set_packing(pPng);
    std::vector<Bytes> rows(picture.nHeight);
    std::vector<png_bytep> rowPointers;
    for (std::uint32_t y = 0; y < picture.nHeight; ++y) {
        for (std::uint32_t x = 0; x < picture.nWidth; ++x)
            AppendPngSamples(rows[y], picture.Row(y) + std::size_t{x} * picture.nChannels, kind);
        rowPointers.push_back(rows[y].data());
    }
    png_write_image(pPng, rowPointers.data());
    png_write_end(pPng, pInfo);
    png_destroy_write_struct(&pPng, &pInfo);
    return bytes;
}

Bytes MakePngChunk(std::string_view type, const Bytes& content) {
    Bytes chunk;
    AppendBigEndian(chunk, static_cast<std::uint32_t>(content.size()), 4);
    chunk.insert(chunk.end(), type.begin(), type.end());
    chunk.insert(chunk.end(), content.begin(), content.end());
    const auto sum = crc32(0, chunk.data() + 4, static_cast<unsigned>(chunk.size() - 4));
    AppendBigEndian(chunk, static_cast<std::uint32_t>(sum), 4);
    return chunk;
}

Bytes WithPngSize(Bytes png, std::uint32_t nWidth, std::uint32_t nHeight) {
    Bytes header(png.begin() + 16, png.begin() + 29);
    PutBigEndian(header, 0, nWidth, 4);
    PutBigEndian(header, 4, nHeight, 4);
    std::ranges::copy(MakePngChunk("IHDR", header), png.begin() + 8);
    return png;
}

}  // namespace TestSupport

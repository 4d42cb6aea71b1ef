#include "RowWriters.h"

#include <jpeglib.h>
#include <png.h>

#include <algorithm>
#include <cstdlib>

namespace Bench {
namespace {

constexpr int kPngFastest = 1;

}  // namespace

PictureSource SourceOf(const TestSupport::Raster& raster) {
    return {raster.nWidth, raster.nHeight, raster.nChannels, [&raster](std::uint32_t y, std::uint8_t* pRow) {
                std::copy_n(raster.Row(y), raster.Stride(), pRow);
            }};
}

void WriteJpeg(std::FILE* pFile, const PictureSource& source, int nQuality, JpegProcess process) {
    jpeg_compress_struct state{};
    jpeg_error_mgr errors{};
    state.err = jpeg_std_error(&errors);
    jpeg_create_compress(&state);
    jpeg_stdio_dest(&state, pFile);
    state.image_width = source.nWidth;
    state.image_height = source.nHeight;
    state.input_components = 3;
    state.in_color_space = JCS_EXT_BGR;
    jpeg_set_defaults(&state);
    jpeg_set_quality(&state, nQuality, TRUE);
    if (process == JpegProcess::Progressive) jpeg_simple_progression(&state);
    jpeg_start_compress(&state, TRUE);
    Bytes row(std::size_t{source.nWidth} * 3);
    while (state.next_scanline < state.image_height) {
        source.fillRow(state.next_scanline, row.data());
        JSAMPROW pRow = row.data();
        jpeg_write_scanlines(&state, &pRow, 1);
    }
    jpeg_finish_compress(&state);
    jpeg_destroy_compress(&state);
}

void WritePng(std::FILE* pFile, const PictureSource& source) {
    png_structp pPng = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, nullptr, nullptr);
    png_infop pInfo = png_create_info_struct(pPng);
    png_init_io(pPng, pFile);
    png_set_IHDR(pPng, pInfo, source.nWidth, source.nHeight, 8,
                 source.nChannels == 4 ? PNG_COLOR_TYPE_RGB_ALPHA : PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE,
                 PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_set_compression_level(pPng, kPngFastest);
    png_write_info(pPng, pInfo);
    png_set_bgr(pPng);
    Bytes row(std::size_t{source.nWidth} * source.nChannels);
    for (std::uint32_t y = 0; y < source.nHeight; ++y) {
        source.fillRow(y, row.data());
        png_write_row(pPng, row.data());
    }
    png_write_end(pPng, pInfo);
    png_destroy_write_struct(&pPng, &pInfo);
}

void WriteToFile(const std::filesystem::path& path, const std::function<void(std::FILE*)>& write) {
    std::FILE* pFile = std::fopen(path.c_str(), "wbx");
    Require(pFile != nullptr, "cannot create " + path.string());
    write(pFile);
    Require(std::fclose(pFile) == 0, "cannot write " + path.string());
}

Bytes WriteToMemory(const std::function<void(std::FILE*)>& write) {
    char* pBlock = nullptr;
    std::size_t nBytes = 0;
    std::FILE* pFile = open_memstream(&pBlock, &nBytes);
    Require(pFile != nullptr, "no memory");
    write(pFile);
    Require(std::fclose(pFile) == 0, "no memory");
    Bytes bytes(pBlock, pBlock + nBytes);
    std::free(pBlock);
    return bytes;
}

}  // namespace Bench

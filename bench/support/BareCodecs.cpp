#include "BareCodecs.h"

// jpeglib.h wants FILE to be known.
#include <cstdio>

#include <jpeglib.h>
#include <png.h>
#include <webp/decode.h>

#include <cstring>
#include <functional>
#include <memory>

namespace Bench {
namespace {

using TestSupport::Raster;

// Gives the place for row `y` of a picture.
using RowPlace = std::function<std::uint8_t*(std::uint32_t y)>;

class JpegDecoder {
  public:
    explicit JpegDecoder(const Bytes& file) {
        m_state.err = jpeg_std_error(&m_errors);
        jpeg_create_decompress(&m_state);
        jpeg_mem_src(&m_state, file.data(), static_cast<unsigned long>(file.size()));
        jpeg_read_header(&m_state, TRUE);
        m_state.out_color_space = JCS_EXT_BGR;
    }
    ~JpegDecoder() { jpeg_destroy_decompress(&m_state); }
    JpegDecoder(const JpegDecoder&) = delete;
    JpegDecoder& operator=(const JpegDecoder&) = delete;

    PictureSize Size() const { return {m_state.image_width, m_state.image_height}; }
    bool IsProgressive() const { return m_state.progressive_mode != 0; }

    void Start(unsigned eighths) {
        m_state.scale_num = eighths;
        m_state.scale_denom = 8;
        jpeg_start_decompress(&m_state);
    }
    std::size_t RowBytes() const { return std::size_t{m_state.output_width} * 3; }

    void ReadRows(const RowPlace& placeOf) {
        while (m_state.output_scanline < m_state.output_height) {
            JSAMPROW pRow = placeOf(m_state.output_scanline);
            jpeg_read_scanlines(&m_state, &pRow, 1);
        }
        jpeg_finish_decompress(&m_state);
    }

  private:
    jpeg_error_mgr m_errors{};
    jpeg_decompress_struct m_state{};
};

[[noreturn]] void StopOnPngError(png_structp, png_const_charp pszText) {
    Require(false, pszText);
    std::abort();
}

class PngDecoder {
  public:
    explicit PngDecoder(const Bytes& file) : m_pNext(file.data()), m_pEnd(file.data() + file.size()) {
        m_pPng = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, StopOnPngError, nullptr);
        m_pInfo = png_create_info_struct(m_pPng);
        png_set_read_fn(m_pPng, this, [](png_structp pPng, png_bytep pOut, std::size_t nBytes) {
            auto& self = *static_cast<PngDecoder*>(png_get_io_ptr(pPng));
            Require(nBytes <= static_cast<std::size_t>(self.m_pEnd - self.m_pNext), "damaged PNG file");
            std::memcpy(pOut, self.m_pNext, nBytes);
            self.m_pNext += nBytes;
        });
        png_read_info(m_pPng, m_pInfo);
    }
    ~PngDecoder() { png_destroy_read_struct(&m_pPng, &m_pInfo, nullptr); }
    PngDecoder(const PngDecoder&) = delete;
    PngDecoder& operator=(const PngDecoder&) = delete;

    PictureSize Size() const {
        return {png_get_image_width(m_pPng, m_pInfo), png_get_image_height(m_pPng, m_pInfo)};
    }

    void Start() {
        png_set_expand(m_pPng);
        png_set_strip_16(m_pPng);
        png_set_gray_to_rgb(m_pPng);
        png_set_bgr(m_pPng);
        m_nPasses = png_set_interlace_handling(m_pPng);
        png_read_update_info(m_pPng, m_pInfo);
    }
    unsigned Channels() const { return png_get_channels(m_pPng, m_pInfo); }
    std::size_t RowBytes() const { return png_get_rowbytes(m_pPng, m_pInfo); }

    void ReadRows(const RowPlace& placeOf) {
        for (int pass = 0; pass < m_nPasses; ++pass) {
            for (std::uint32_t y = 0; y < Size().nHeight; ++y)
                png_read_row(m_pPng, placeOf(y), nullptr);
        }
        png_read_end(m_pPng, nullptr);
    }

  private:
    const std::uint8_t* m_pNext;
    const std::uint8_t* m_pEnd;
    png_structp m_pPng = nullptr;
    png_infop m_pInfo = nullptr;
    int m_nPasses = 1;
};

WebPBitstreamFeatures WebpFeatures(const Bytes& file) {
    WebPBitstreamFeatures features;
    Require(WebPGetFeatures(file.data(), file.size(), &features) == VP8_STATUS_OK, "not a WebP file");
    return features;
}

Raster DecodeWholeJpeg(const Bytes& file) {
    JpegDecoder decoder(file);
    decoder.Start(8);
    Raster raster(decoder.Size().nWidth, decoder.Size().nHeight, 3);
    decoder.ReadRows([&](std::uint32_t y) { return raster.Row(y); });
    return raster;
}

Raster DecodeWholePng(const Bytes& file) {
    PngDecoder decoder(file);
    decoder.Start();
    Raster raster(decoder.Size().nWidth, decoder.Size().nHeight, decoder.Channels());
    decoder.ReadRows([&](std::uint32_t y) { return raster.Row(y); });
    return raster;
}

Raster DecodeWholeWebp(const Bytes& file) {
    const PictureSize size = SizeOfWebp(file);
    const bool bAlpha = WebpFeatures(file).has_alpha != 0;
    Raster raster(size.nWidth, size.nHeight, bAlpha ? 4 : 3);
    const auto decode = bAlpha ? WebPDecodeBGRAInto : WebPDecodeBGRInto;
    Require(decode(file.data(), file.size(), raster.pixels.data(), raster.pixels.size(),
                   static_cast<int>(raster.Stride())) != nullptr,
            "damaged WebP file");
    return raster;
}

}  // namespace

PictureSize SizeOfJpeg(const Bytes& file) {
    return JpegDecoder(file).Size();
}

bool IsProgressiveJpeg(const Bytes& file) {
    return JpegDecoder(file).IsProgressive();
}

PictureSize SizeOfPng(const Bytes& file) {
    return PngDecoder(file).Size();
}

PictureSize SizeOfWebp(const Bytes& file) {
    const WebPBitstreamFeatures features = WebpFeatures(file);
    return {static_cast<std::uint32_t>(features.width), static_cast<std::uint32_t>(features.height)};
}

void DecodeJpegBare(const Bytes& file, unsigned eighths) {
    JpegDecoder decoder(file);
    decoder.Start(eighths);
    Bytes row(decoder.RowBytes());
    decoder.ReadRows([&](std::uint32_t) { return row.data(); });
}

void DecodePngBare(const Bytes& file) {
    PngDecoder decoder(file);
    decoder.Start();
    Bytes row(decoder.RowBytes());
    decoder.ReadRows([&](std::uint32_t) { return row.data(); });
}

void DecodeWebpBare(const Bytes& file, PictureSize size) {
    WebPDecoderConfig config;
    WebPInitDecoderConfig(&config);
    config.options.use_scaling = 1;
    config.options.scaled_width = static_cast<int>(size.nWidth);
    config.options.scaled_height = static_cast<int>(size.nHeight);
    config.output.colorspace = WebpFeatures(file).has_alpha ? MODE_BGRA : MODE_BGR;
    Require(WebPDecode(file.data(), file.size(), &config) == VP8_STATUS_OK, "damaged WebP file");
    WebPFreeDecBuffer(&config.output);
}

Raster DecodeWhole(const Bytes& file) {
    switch (KindOf(file)) {
        case FileKind::Jpeg:
            return DecodeWholeJpeg(file);
        case FileKind::Png:
            return DecodeWholePng(file);
        default:
            return DecodeWholeWebp(file);
    }
}

}  // namespace Bench

#include "JpegFormula.h"

#include <algorithm>
#include <cmath>
#include <csetjmp>
#include <cstdio>
#include <numbers>

#include <jpeglib.h>

namespace TestSupport {
namespace {

struct Error {
    jpeg_error_mgr manager;
    std::jmp_buf jump;
};

// How much a wave adds to a sample where `n` samples stand for the eight of a block.
double Wave(unsigned wave, std::uint32_t sample, std::uint32_t n) {
    const double scale = wave == 0 ? std::sqrt(0.125) : 0.5;
    return scale * std::cos((2 * sample + 1) * wave * std::numbers::pi / (2.0 * n));
}

// The largest part of the wanted samples, but for a half of two, that blocks of eight can make. At 1/8 it is
// one.
std::uint32_t SamplesOf(std::uint32_t wanted, std::uint32_t eighths) {
    if (eighths == 1) return 1;
    for (const std::uint32_t n : {8u, 6u, 4u, 3u}) {
        if (wanted % n == 0) return n;
    }
    return 2;
}

std::uint8_t ToByte(double value) {
    return static_cast<std::uint8_t>(std::clamp(std::floor(value + 0.5), 0.0, 255.0));
}

class Reducer {
  public:
    explicit Reducer(std::uint32_t eighths) : m_eighths(eighths) {
        m_info.err = jpeg_std_error(&m_error.manager);
    }
    ~Reducer() { jpeg_destroy_decompress(&m_info); }

    bool Reduce(const Bytes& file, Raster& picture) {
        m_error.manager.emit_message = [](j_common_ptr, int) {};
        m_error.manager.error_exit = [](j_common_ptr pInfo) {
            std::longjmp(reinterpret_cast<Error*>(pInfo->err)->jump, 1);
        };
        if (setjmp(m_error.jump) != 0) return false;
        jpeg_create_decompress(&m_info);
        jpeg_mem_src(&m_info, file.data(), static_cast<unsigned long>(file.size()));
        jpeg_read_header(&m_info, TRUE);
        m_pCoefficients = jpeg_read_coefficients(&m_info);
        picture =
            Raster((m_info.image_width * m_eighths + 7) / 8, (m_info.image_height * m_eighths + 7) / 8, 3);
        for (int c = 0; c < m_info.num_components; ++c)
            ReducePlane(c, picture);
        if (m_info.num_components == 1) {
            for (std::size_t i = 0; i < picture.pixels.size(); i += 3)
                picture.pixels[i] = picture.pixels[i + 1] = picture.pixels[i + 2];
        } else if (m_info.jpeg_color_space == JCS_YCbCr) {
            ConvertYCbCr(picture);
        }
        return true;
    }

  private:
    // Into the channel that red, green or blue has in the end.
    void ReducePlane(int c, Raster& picture) {
        const jpeg_component_info& component = m_info.comp_info[c];
        const auto across =
            static_cast<std::uint32_t>(m_info.max_h_samp_factor / component.h_samp_factor) * m_eighths;
        const auto down =
            static_cast<std::uint32_t>(m_info.max_v_samp_factor / component.v_samp_factor) * m_eighths;
        const std::uint32_t wide = SamplesOf(across, m_eighths);
        const std::uint32_t high = SamplesOf(down, m_eighths);
        for (std::uint32_t y = 0; y < picture.nHeight; ++y) {
            for (std::uint32_t x = 0; x < picture.nWidth; ++x) {
                const std::uint32_t column = x * wide / across;
                const std::uint32_t row = y * high / down;
                JBLOCKARRAY blocks = m_info.mem->access_virt_barray(reinterpret_cast<j_common_ptr>(&m_info),
                                                                    m_pCoefficients[c], row / high, 1, FALSE);
                picture.Row(y)[3 * x + 2 - static_cast<std::size_t>(c)] =
                    Sample(component, blocks[0][column / wide], column % wide, wide, row % high, high);
            }
        }
    }

    static std::uint8_t Sample(const jpeg_component_info& component, const JCOEF* pBlock, std::uint32_t x,
                               std::uint32_t wide, std::uint32_t y, std::uint32_t high) {
        double sum = 128;
        for (unsigned down = 0; down < high; ++down) {
            for (unsigned across = 0; across < wide; ++across)
                sum += pBlock[8 * down + across] * component.quant_table->quantval[8 * down + across] *
                       Wave(across, x, wide) * Wave(down, y, high);
        }
        return ToByte(sum);
    }

    static void ConvertYCbCr(Raster& picture) {
        for (std::size_t i = 0; i < picture.pixels.size(); i += 3) {
            std::uint8_t* const p = &picture.pixels[i];
            const double luma = p[2];
            const double cb = p[1] - 128.0;
            const double cr = p[0] - 128.0;
            p[0] = ToByte(luma + 1.772 * cb);
            p[1] = ToByte(luma - 0.344136 * cb - 0.714136 * cr);
            p[2] = ToByte(luma + 1.402 * cr);
        }
    }

    std::uint32_t m_eighths;
    Error m_error{};
    jpeg_decompress_struct m_info{};
    jvirt_barray_ptr* m_pCoefficients = nullptr;
};

}  // namespace

std::optional<Raster> ReduceJpegByFormula(const Bytes& file, std::uint32_t eighths) {
    Raster picture;
    Reducer reducer(eighths);
    if (!reducer.Reduce(file, picture)) return {};
    return picture;
}

}  // namespace TestSupport

#include <jerror.h>

#include <new>

#include "JpegError.h"
#include "iml/Compress.h"
#include "platform/graphics/PixelConversion.h"

namespace {

// libjpeg's side of a growing buffer.
struct Output {
    jpeg_destination_mgr manager;
    std::vector<std::uint8_t> bytes;
    std::size_t nWritten = 0;

    static Output& Of(j_compress_ptr pInfo) { return *reinterpret_cast<Output*>(pInfo->dest); }

    static bool Grow(Output& output) {
        try {
            output.bytes.resize(output.bytes.size() * 2);
            return true;
        } catch (const std::bad_alloc&) {
            return false;
        }
    }

    void OfferFrom(std::size_t nOffset) {
        manager.next_output_byte = &bytes[nOffset];
        manager.free_in_buffer = bytes.size() - nOffset;
    }

    explicit Output(std::size_t nExpected) : bytes(nExpected) {
        manager.init_destination = [](j_compress_ptr pInfo) { Of(pInfo).OfferFrom(0); };
        manager.empty_output_buffer = [](j_compress_ptr pInfo) -> boolean {
            const std::size_t nFull = Of(pInfo).bytes.size();
            if (!Grow(Of(pInfo))) ERREXIT1(pInfo, JERR_OUT_OF_MEMORY, 0);
            Of(pInfo).OfferFrom(nFull);
            return TRUE;
        };
        manager.term_destination = [](j_compress_ptr pInfo) {
            Of(pInfo).nWritten = Of(pInfo).bytes.size() - Of(pInfo).manager.free_in_buffer;
        };
    }
};

class Compressor {
  public:
    explicit Compressor(std::size_t nExpected) : m_output(nExpected) { m_info.err = m_error.Install(); }
    ~Compressor() { jpeg_destroy_compress(&m_info); }
    Compressor(const Compressor&) = delete;
    Compressor& operator=(const Compressor&) = delete;

    bool Start(unsigned width, unsigned height, int quality) {
        return RunJpeg(m_error, [=, this] {
            jpeg_create_compress(&m_info);
            m_info.dest = &m_output.manager;
            m_info.image_width = width;
            m_info.image_height = height;
            m_info.input_components = 3;
            m_info.in_color_space = JCS_EXT_BGR;
            jpeg_set_defaults(&m_info);
            jpeg_set_quality(&m_info, quality, TRUE);
            // Full chroma resolution: at this size halving it shows, and saves little.
            m_info.comp_info[0].h_samp_factor = m_info.comp_info[0].v_samp_factor = 1;
            jpeg_start_compress(&m_info, TRUE);
        });
    }

    bool AddRow(std::uint8_t* pRow) {
        return RunJpeg(m_error, [=, this] {
            JSAMPROW rows[] = {pRow};
            jpeg_write_scanlines(&m_info, rows, 1);
        });
    }

    bool Finish() {
        return RunJpeg(m_error, [this] { jpeg_finish_compress(&m_info); });
    }

    std::vector<std::uint8_t> Take() {
        m_output.bytes.resize(m_output.nWritten);
        return std::move(m_output.bytes);
    }

  private:
    jpeg_compress_struct m_info{};
    JpegError m_error;
    Output m_output;
};

}  // namespace

std::vector<std::uint8_t> CompressJpeg(const Gdiplus::BitmapData& pixels, int nQuality) {
    Compressor compressor(std::size_t{pixels.Width} * pixels.Height + 4096);
    if (!compressor.Start(pixels.Width, pixels.Height, nQuality)) return {};
    std::vector<std::uint8_t> row(std::size_t{pixels.Width} * 3);
    const auto* pFrom = static_cast<const std::uint8_t*>(pixels.Scan0);
    for (unsigned y = 0; y < pixels.Height; ++y, pFrom += pixels.Stride) {
        Gdiplus::ConvertPixels(pFrom, pixels.PixelFormat, row.data(), Gdiplus::PixelFormat24bppRGB,
                               pixels.Width);
        if (!compressor.AddRow(row.data())) return {};
    }
    if (!compressor.Finish()) return {};
    return compressor.Take();
}

// Any bytes as a JPEG: what the decoder of DC coefficients takes, libjpeg must show alike at 1/8 of the size.
#include <algorithm>
#include <cstdlib>
#include <memory>
#include <new>
#include <vector>

#include "iml/ByteSource.h"
#include "iml/RowSink.h"
#include "iml/jpeg/JpegDcDecode.h"
#include "iml/jpeg/JpegError.h"
#include "iml/jpeg/JpegSegments.h"
#include "platform/graphics/Image.h"

namespace {

// Larger ones take time without finding more.
constexpr std::uint64_t kMostPixels = 1u << 18;

using Bytes = std::vector<std::uint8_t>;

// libjpeg on its own, at 1/8.
class Reference {
  public:
    explicit Reference(const Bytes& file) {
        m_info.err = m_error.Install();
        m_good = RunJpeg(m_error, [&] {
            jpeg_create_decompress(&m_info);
            jpeg_mem_src(&m_info, file.data(), static_cast<unsigned long>(file.size()));
            jpeg_read_header(&m_info, TRUE);
            m_info.out_color_space = JCS_EXT_BGR;
            m_info.scale_num = 1;
            m_info.scale_denom = 8;
            jpeg_start_decompress(&m_info);
        });
        if (m_good) m_row.resize(std::size_t{m_info.output_width} * 3);
    }
    ~Reference() { jpeg_destroy_decompress(&m_info); }
    Reference(const Reference&) = delete;
    Reference& operator=(const Reference&) = delete;

    void Decode(RowSink& sink, const RowShape& shape) {
        if (!m_good || m_info.output_width != shape.width || m_info.output_height != shape.height)
            std::abort();
        sink.Begin(shape);
        while (m_info.output_scanline < m_info.output_height) {
            JSAMPROW pRow = m_row.data();
            if (!RunJpeg(m_error, [&] { jpeg_read_scanlines(&m_info, &pRow, 1); })) std::abort();
            sink.AddRow(pRow);
        }
    }

  private:
    JpegError m_error;
    jpeg_decompress_struct m_info{};
    Bytes m_row;
    bool m_good = false;
};

Bytes PixelsOf(RowSink& sink) {
    const std::unique_ptr<Gdiplus::Bitmap> pBitmap = sink.Finish();
    if (!pBitmap) std::abort();
    Gdiplus::BitmapData data;
    if (pBitmap->LockBits(nullptr, Gdiplus::ImageLockModeRead, Gdiplus::PixelFormat24bppRGB, &data) !=
        Gdiplus::Ok)
        std::abort();
    Bytes pixels;
    for (std::uint32_t y = 0; y < data.Height; ++y) {
        const auto* pRow =
            static_cast<const std::uint8_t*>(data.Scan0) + static_cast<std::ptrdiff_t>(y) * data.Stride;
        pixels.insert(pixels.end(), pRow, pRow + std::size_t{data.Width} * 3);
    }
    pBitmap->UnlockBits(&data);
    return pixels;
}

void Compare(const Bytes& file, const JpegFrame& frame, RowSink& sink, RowSink& expectedSink) {
    RowShape shape;
    shape.width = (frame.width + 7) / 8;
    shape.height = (frame.height + 7) / 8;
    shape.extentX = frame.width / 8.0;
    shape.extentY = frame.height / 8.0;
    Reference(file).Decode(expectedSink, shape);
    const Bytes pixels = PixelsOf(sink);
    const Bytes expected = PixelsOf(expectedSink);

    if (pixels.size() != expected.size()) std::abort();
    for (std::size_t i = 0; i < pixels.size(); ++i) {
        if (std::abs(pixels[i] - expected[i]) > 1) std::abort();
    }
}

void Read(const Bytes& file) {
    MemorySource source(file);
    JpegFrame frame;
    if (file.size() < 3 || file[0] != 0xFF || file[1] != kJpegSoi || file[2] != 0xFF) return;
    if (!ReadJpegFrame(source, frame) || std::uint64_t{frame.width} * frame.height > kMostPixels) return;
    // Larger than an eighth, so that the edges, which are only partly in the picture, are seen too.
    const std::uint32_t width = (frame.width + 7) / 8 * 2;
    const std::uint32_t height = (frame.height + 7) / 8 * 2;
    RowSink sink(width, height, Gdiplus::PixelFormat24bppRGB);
    if (!DecodeJpegDc(source, frame, sink)) {
        if (sink.RowsTaken() != 0 || sink.Finish()) std::abort();
        return;
    }
    if (frame.marker == kJpegSof2) return;  // shown without its AC coefficients
    RowSink expected(width, height, Gdiplus::PixelFormat24bppRGB);
    Compare(file, frame, sink, expected);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t nSize) {
    try {
        Read(Bytes(pData, pData + nSize));
    } catch (const std::bad_alloc&) {
        return 0;
    }
    return 0;
}

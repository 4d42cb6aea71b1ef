// Any bytes as a JPEG: what the decoder of reduced pictures takes, libjpeg must show alike at 1/8 of the
// size, and the formula from 2/8 to 4/8.
#include <algorithm>
#include <cstdlib>
#include <map>
#include <memory>
#include <new>
#include <optional>
#include <utility>
#include <vector>

#include "iml/ByteSource.h"
#include "iml/RowSink.h"
#include "iml/jpeg/JpegError.h"
#include "iml/jpeg/JpegReduced.h"
#include "iml/jpeg/JpegSegments.h"
#include "platform/graphics/Image.h"
#include "support/JpegFormula.h"

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

RowShape ShapeOf(const JpegFrame& frame, std::uint32_t eighths) {
    RowShape shape;
    shape.width = (frame.width * eighths + 7) / 8;
    shape.height = (frame.height * eighths + 7) / 8;
    shape.extentX = frame.width * (eighths / 8.0);
    shape.extentY = frame.height * (eighths / 8.0);
    return shape;
}

// The file is in order up to its end, and each scan brings the bits of its coefficients that come next. If
// not, the decoder may have stopped before.
bool IsPlain(const Bytes& file) {
    MemorySource source(file);
    JpegSegments segments(source);
    JpegSegment segment;
    std::map<std::pair<int, int>, int> shifts;  // place of the last bit, by component and coefficient
    while (segments.Next(segment)) {
        if (segment.marker != kJpegSos) continue;
        std::vector<std::uint8_t> bytes(segment.size);
        if (!source.ReadAllAt(segment.offset, bytes.data(), bytes.size())) return false;
        if (bytes.empty() || bytes.size() < 4u + 2u * bytes[0]) return false;
        const std::uint8_t* const pBand = &bytes[1 + 2 * bytes[0]];
        const int before = pBand[2] >> 4;
        for (std::size_t part = 0; part < bytes[0]; ++part) {
            for (int i = pBand[0]; i <= pBand[1]; ++i) {
                const auto [found, isFirst] = shifts.insert({{bytes[1 + 2 * part], i}, 0});
                if (isFirst ? before != 0 : before == 0 || found->second != before) return false;
                found->second = pBand[2] & 15;
            }
        }
        segments.SkipEntropyCodedData(segment.End());
    }
    std::uint8_t end[2];
    return source.ReadAllAt(segments.Position(), end, sizeof end) && end[0] == 0xFF && end[1] == kJpegEoi;
}

void Compare(RowSink& sink, RowSink& expectedSink, int tolerance) {
    const Bytes pixels = PixelsOf(sink);
    const Bytes expected = PixelsOf(expectedSink);
    if (pixels.size() != expected.size()) std::abort();
    for (std::size_t i = 0; i < pixels.size(); ++i) {
        if (std::abs(pixels[i] - expected[i]) > tolerance) std::abort();
    }
}

void Read(const Bytes& file, std::uint32_t eighths) {
    MemorySource source(file);
    JpegFrame frame;
    if (file.size() < 3 || file[0] != 0xFF || file[1] != kJpegSoi || file[2] != 0xFF) return;
    if (!ReadJpegFrame(source, frame) || std::uint64_t{frame.width} * frame.height > kMostPixels) return;
    // Larger than the rows, so that the edges, which are only partly in the picture, are seen too.
    const RowShape shape = ShapeOf(frame, eighths);
    RowSink sink(shape.width * 2, shape.height * 2, Gdiplus::PixelFormat24bppRGB);
    if (!DecodeJpegReduced(source, frame, eighths, sink)) {
        if (sink.RowsTaken() != 0 || sink.Finish()) std::abort();
        return;
    }
    RowSink expected(shape.width * 2, shape.height * 2, Gdiplus::PixelFormat24bppRGB);
    if (eighths == 1 && frame.marker != kJpegSof2) {
        Reference(file).Decode(expected, shape);
        Compare(sink, expected, 1);
    } else if (IsPlain(file)) {
        const std::optional<TestSupport::Raster> picture = TestSupport::ReduceJpegByFormula(file, eighths);
        if (!picture) return;  // for what comes behind the coefficients
        if (picture->nWidth != shape.width || picture->nHeight != shape.height) std::abort();
        expected.Begin(shape);
        for (std::uint32_t y = 0; y < shape.height; ++y)
            expected.AddRow(picture->Row(y));
        // Samples are rounded, and the sink's filter makes more of it: most at an edge that is only partly in
        // the picture.
        Compare(sink, expected, 12);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t nSize) {
    try {
        const Bytes file(pData, pData + nSize);
        Read(file, 1);
        Read(file, 2 + static_cast<std::uint32_t>(nSize % 3));
    } catch (const std::bad_alloc&) {
        return 0;
    }
    return 0;
}

#include "PngRows.h"

#include <vector>

#include "PngInflater.h"
#include "PngRowFilters.h"

namespace {

bool DeliverRows(PngInflater& inflater, const PngPixels& pixels, const RowShape& shape, RowSink& sink) {
    const std::size_t nRowBytes = pixels.RowBytes(shape.width);
    const std::size_t nOutBytes = std::size_t{shape.width} * Gdiplus::BytesPerPixel(shape.format);
    std::vector<std::uint8_t> scanline(1 + nRowBytes + kPngRowSlack);
    std::vector<std::uint8_t> above(nRowBytes + kPngRowSlack);
    std::vector<std::uint8_t> row(nRowBytes + kPngRowSlack);
    std::vector<std::uint8_t> converted(pixels.IsPlain() ? 0 : nOutBytes + 1);
    for (std::uint32_t y = 0; y < shape.height; ++y) {
        if (!inflater.Read(scanline.data(), 1 + nRowBytes) ||
            !UnfilterPngRow(scanline.data(), above.data(), row.data(), nRowBytes, pixels.PixelBytes()))
            return false;
        if (!pixels.IsPlain()) pixels.Convert(row.data(), shape.width, converted.data());
        sink.AddRow(pixels.IsPlain() ? row.data() : converted.data());
        row.swap(above);
    }
    return inflater.Finish();
}

}  // namespace

bool DecodePngRows(ByteSource& source, std::uint64_t nOffset, const PngPixels& pixels, const RowShape& shape,
                   RowSink& sink) {
    if (!CanUnfilterPngRows()) return false;
    PngInflater inflater(source, nOffset);
    sink.Begin(shape);
    const bool bGood = inflater.Start() && DeliverRows(inflater, pixels, shape, sink);
    if (!bGood) sink.Discard();
    return bGood;
}

#include <algorithm>
#include <array>
#include <memory>

#include "TiffColours.h"
#include "TiffFile.h"
#include "TiffLayout.h"
#include "TiffRows.h"
#include "iml/Codec.h"
#include "iml/ExifThumbnail.h"

namespace {

bool RecogniseTiff(std::span<const std::uint8_t> head) {
    // Byte order, then 42, or 43 for files with 64-bit offsets.
    constexpr std::array<std::array<std::uint8_t, 4>, 4> kMarks = {
        {{'I', 'I', 42, 0}, {'M', 'M', 0, 42}, {'I', 'I', 43, 0}, {'M', 'M', 0, 43}}};
    return std::any_of(kMarks.begin(), kMarks.end(), [head](const auto& mark) {
        return head.size() > mark.size() && std::equal(mark.begin(), mark.end(), head.begin());
    });
}

bool ReadTiffInfo(ByteSource& source, PictureInfo& info) {
    const TiffFile file(source);
    TiffLayout layout;
    if (!file.IsOpen() || !ReadTiffLayout(file, layout)) return false;
    info = {layout.width, layout.height, layout.alpha != TiffAlpha::kNone};
    return true;
}

bool DecodeTiff(ByteSource& source, const PictureInfo& info, RowSink& sink) {
    const TiffFile file(source);
    TiffLayout layout;
    if (!file.IsOpen() || !ReadTiffLayout(file, layout)) return false;
    if (layout.width != info.width || layout.height != info.height) return false;
    if ((layout.alpha != TiffAlpha::kNone) != info.alpha) return false;
    const std::unique_ptr<TiffRows> pRows = OpenTiffRows(source, layout);
    if (!pRows) return false;

    RowShape shape;
    shape.width = info.width;
    shape.height = info.height;
    shape.format = info.alpha ? Gdiplus::PixelFormat32bppARGB : Gdiplus::PixelFormat24bppRGB;
    sink.Begin(shape);
    TiffColours colours(file, layout, pRows->PlaneBytes());
    const auto pStored =
        std::make_unique_for_overwrite<std::uint8_t[]>(pRows->PlaneBytes() * layout.Planes());
    const auto pRow = std::make_unique_for_overwrite<std::uint8_t[]>(std::size_t{info.width} *
                                                                     Gdiplus::BytesPerPixel(shape.format));
    for (std::uint32_t row = 0; row < info.height; ++row) {
        if (!pRows->Read(row, pStored.get())) return false;
        colours.Convert(pStored.get(), pRow.get());
        sink.AddRow(pRow.get());
    }
    return true;
}

}  // namespace

const Codec kTiffCodec = {RecogniseTiff, ReadTiffInfo, DecodeTiff, FindTiffThumbnail};

#include <algorithm>
#include <bit>

#include "JpegDecoder.h"
#include "JpegReduced.h"
#include "JpegSegments.h"
#include "iml/Codec.h"
#include "iml/ExifThumbnail.h"
#include "iml/Limits.h"

namespace {

bool Recognise(std::span<const std::uint8_t> head) {
    return head.size() >= 3 && head[0] == 0xFF && head[1] == kJpegSoi && head[2] == 0xFF;
}

bool ReadInfo(ByteSource& source, PictureInfo& info) {
    JpegFrame frame;
    if (!ReadJpegFrame(source, frame)) return false;
    info = {frame.width, frame.height, false};
    return true;
}

// How much larger than the target a reduced decode has to be, in eighths, to be as good as a full one:
// what the mean over photographs needs, with some reserve, for SSIM .990 and 44 dB once it is compressed.
// A small thumbnail shows more of the picture in each pixel, and needs more. bench/quality measures it.
constexpr std::uint64_t kSmallTarget = 320;  // pixels of the longer side
constexpr std::uint64_t kMarginOfSmall = 20;
constexpr std::uint64_t kMarginOfLarge = 10;

// The scale, in eighths, to decode at.
std::uint32_t ChooseScale(const JpegFrame& frame, const RowSink& sink) {
    const std::uint64_t target = std::max(sink.TargetWidth(), sink.TargetHeight());
    const std::uint64_t size = std::max(frame.width, frame.height);
    if (target == 0) return 8;
    const std::uint64_t margin = target <= kSmallTarget ? kMarginOfSmall : kMarginOfLarge;
    for (const std::uint32_t eighths : {1u, 2u, 3u, 4u}) {
        if (size * eighths >= target * margin) return eighths;
    }
    return 8;
}

bool DecodeAll(ByteSource& source, const JpegFrame& frame, std::uint32_t eighths, RowSink& sink) {
    JpegDecoder decoder(source);
    if (!decoder.Start(frame, eighths)) return false;
    RowShape shape;
    shape.width = decoder.Width();
    shape.height = decoder.Height();
    if (eighths != 8) {
        shape.extentX = frame.width * (eighths / 8.0);
        shape.extentY = frame.height * (eighths / 8.0);
    }
    sink.Begin(shape);
    while (sink.RowsTaken() < shape.height) {
        const std::uint8_t* pRow = decoder.NextRow();
        if (!pRow) return false;
        sink.AddRow(pRow);
    }
    return true;
}

bool Decode(ByteSource& source, const PictureInfo&, RowSink& sink) {
    JpegFrame frame;
    if (!ReadJpegFrame(source, frame)) return false;
    const std::uint32_t eighths = ChooseScale(frame, sink);
    if (eighths < 8 && DecodeJpegReduced(source, frame, eighths, sink)) return true;
    // libjpeg has fast transforms for powers of two alone.
    return DecodeAll(source, frame, std::bit_ceil(eighths), sink);
}

bool FindThumbnail(ByteSource& source, ByteRange& thumbnail) {
    static constexpr std::uint8_t kExif[] = {'E', 'x', 'i', 'f', 0, 0};
    JpegSegments segments(source);
    JpegSegment segment;
    while (segments.Next(segment) && segment.marker != kJpegSos) {
        std::uint8_t head[sizeof kExif];
        if (segment.marker != kJpegApp1 || segment.size < sizeof head) continue;
        if (!source.ReadAllAt(segment.offset, head, sizeof head) || !std::ranges::equal(head, kExif))
            continue;
        SubSource exif(source, segment.offset + sizeof head, segment.size - sizeof head);
        if (!FindExifThumbnail(exif, thumbnail)) return false;
        thumbnail.offset += segment.offset + sizeof head;
        return true;
    }
    return false;
}

}  // namespace

const Codec kJpegCodec = {Recognise, ReadInfo, Decode, FindThumbnail};

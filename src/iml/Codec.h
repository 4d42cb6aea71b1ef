#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "ByteSource.h"
#include "RowSink.h"

/// What the header of a picture says.
struct PictureInfo {
    std::uint32_t width = 0;   // pixels; never 0
    std::uint32_t height = 0;  // rows; never 0
    bool alpha = false;        // the picture can be transparent
};

/// Bytes at the start of a source that suffice to tell its format.
inline constexpr std::size_t kSignatureBytes = 16;

/// One picture format. The functions may run on several threads at once, each on its own source; they
/// throw nothing but std::bad_alloc, print nothing, and take no more memory than the codec needs for a few
/// rows, whatever the source says.
struct Codec {
    /// Whether `head`, the first bytes of a source (kSignatureBytes, or all if there are fewer), is of
    /// this format.
    bool (*recognise)(std::span<const std::uint8_t> head);

    /// Reads the header. False if it is damaged.
    bool (*readInfo)(ByteSource& source, PictureInfo& info);

    /// Decodes the picture into the sink: in `info.alpha`'s format, at the size that `info` gives or, if
    /// that is cheaper, at a smaller one that is still good enough for the sink's target.
    /// False if the decode ended early; the rows that came are still good.
    bool (*decode)(ByteSource& source, const PictureInfo& info, RowSink& sink);

    /// Finds the thumbnail inside a file, which is a picture file of its own. Null for formats that have
    /// none.
    bool (*findThumbnail)(ByteSource& source, ByteRange& thumbnail);
};

/// The codecs, each in the source file of its name.
extern const Codec kJpegCodec;
extern const Codec kPngCodec;
extern const Codec kGifCodec;
extern const Codec kWebpCodec;
extern const Codec kTiffCodec;
extern const Codec kBmpCodec;

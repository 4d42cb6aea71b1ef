#include "Picture.h"

#include "platform/graphics/Image.h"

namespace {

// Adding a format takes one line here and one in Codec.h.
const Codec* const kCodecs[] = {&kJpegCodec, &kPngCodec, &kGifCodec, &kWebpCodec, &kTiffCodec, &kBmpCodec};

}  // namespace

Picture::Picture(ByteSource& source) : m_source(source) {
    std::uint8_t head[kSignatureBytes];
    const std::size_t size = source.ReadAt(0, head, sizeof head);
    for (const Codec* pCodec : kCodecs) {
        if (!pCodec->recognise({head, size})) continue;
        if (pCodec->readInfo(source, m_info)) m_pCodec = pCodec;
        return;
    }
}

Gdiplus::PixelFormat Picture::Format() const {
    return m_info.alpha ? Gdiplus::PixelFormat32bppARGB : Gdiplus::PixelFormat24bppRGB;
}

std::unique_ptr<Gdiplus::Bitmap> Picture::Decode(std::uint32_t width, std::uint32_t height) {
    if (width == m_info.width && height == m_info.height) width = height = 0;
    RowSink sink(width, height, Format());
    // A decode that ends early still shows what came before.
    m_pCodec->decode(m_source, m_info, sink);
    return sink.Finish();
}

bool Picture::DecodeTo(std::uint32_t width, std::uint32_t height, Gdiplus::PixelFormat format,
                       const PixelPlace& place) {
    RowSink sink(width, height, format, place);
    m_pCodec->decode(m_source, m_info, sink);
    return sink.Complete();
}

bool Picture::FindThumbnail(ByteRange& thumbnail) {
    return m_pCodec->findThumbnail && m_pCodec->findThumbnail(m_source, thumbnail);
}

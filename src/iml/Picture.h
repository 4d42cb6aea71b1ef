#pragma once

#include <memory>

#include "ByteSource.h"
#include "Codec.h"

namespace Gdiplus {
class Bitmap;
}

/// A picture in a source: finds its codec, and makes images of it. The operations answer null or false for
/// anything that is not a picture, or is damaged; they throw std::bad_alloc.
class Picture {
  public:
    explicit Picture(ByteSource& source);

    /// Whether the source is a picture with a sound header. All else needs that.
    bool IsGood() const { return m_pCodec != nullptr; }
    const PictureInfo& Info() const { return m_info; }
    Gdiplus::PixelFormat Format() const;

    /// An image of exactly this size; (0, 0) stands for the picture's own.
    std::unique_ptr<Gdiplus::Bitmap> Decode(std::uint32_t width, std::uint32_t height);

    /// The same in a format and at a place of the caller's. False if there is no picture; what is there then
    /// is undefined.
    bool DecodeTo(std::uint32_t width, std::uint32_t height, Gdiplus::PixelFormat format,
                  const PixelPlace& place);

    /// Where the embedded thumbnail is, if there is one.
    bool FindThumbnail(ByteRange& thumbnail);

  private:
    ByteSource& m_source;
    const Codec* m_pCodec = nullptr;
    PictureInfo m_info;
};

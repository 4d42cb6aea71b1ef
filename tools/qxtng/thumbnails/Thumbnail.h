#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "CompressedPicture.h"
#include "common/TNGTypes.h"
#include "platform/graphics/Image.h"

/// The exports of the thumbnail library that this program uses, with owners for what they hand out.
/// All may run on several threads at once.
namespace Client {

struct ThumbnailRequest {
    std::string path;  // absolute
    TNGSize box;
    TNGSourceMode mode;
};

/// A JPEG or PNG file in memory.
class CompressedThumbnail {
  public:
    CompressedThumbnail(unsigned char* pBuffer, std::size_t length, TNGOrigin origin)
        : m_buffer(pBuffer), m_length(length), m_origin(origin) {}

    ByteView Bytes() const { return {m_buffer.get(), m_length}; }
    TNGOrigin Origin() const { return m_origin; }

  private:
    struct Release {
        void operator()(unsigned char* pBuffer) const;
    };
    std::unique_ptr<unsigned char, Release> m_buffer;
    std::size_t m_length;
    TNGOrigin m_origin;
};

/// Pixels.
struct ImageThumbnail {
    std::unique_ptr<Gdiplus::Bitmap> bitmap;
    TNGOrigin origin;
};

/// Both throw a Failure if there is no thumbnail. The library answers with a default image where a picture
/// cannot be read; that is a Failure here, while the default image of audio or video is a result.
CompressedThumbnail MakeCompressedThumbnail(const ThumbnailRequest& request);
ImageThumbnail MakeImageThumbnail(const ThumbnailRequest& request);

/// Files a background request for a compressed thumbnail; a result of QXGenerateThumbnailInBackGround().
std::uint32_t FileRequest(const ThumbnailRequest& request, TNGThumbnailCallback pfnCallback,
                          TNGBackgroundContext& context, unsigned* threadId);

/// Takes over what the callback of such a request found in its record. Throws as the two above do.
CompressedThumbnail TakeThumbnail(const std::string& path, const TNGThumbnailResult& record);

/// Width and height of the picture itself; none for what is no picture, or cannot be read.
std::optional<TNGSize> OriginalSize(const std::string& path);

/// What the cache has of a file: an entry is out of date if the file has changed since.
enum class CacheEntry { None, UpToDate, OutOfDate };
CacheEntry FindCacheEntry(const std::string& path);

/// "embedded", "decoded", "default" or "cached".
std::string_view NameOf(TNGOrigin origin);

/// "160x107".
std::string ToText(TNGSize size);

}  // namespace Client

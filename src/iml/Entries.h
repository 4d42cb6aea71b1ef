#pragma once

#include <cstdint>

#include "platform/graphics/GdiplusTypes.h"

namespace Gdiplus {
class Image;
}

#define QXIML_API extern "C" __attribute__((visibility("default")))

/// The ten entries of the image library. All but the last answer 0 for success. Images are released with
/// `delete`. The format of a file is told from its content, not from its name.

/// Results other than success.
enum : std::int32_t {
    IML_FAILED = 1,         // not a picture, damaged, or no memory
    IML_NO_THUMBNAIL = 10,  // the file has no embedded thumbnail
};

struct IMLSize {
    std::uint32_t nWidth;
    std::uint32_t nHeight;
};

/// The thumbnail inside the file, in its own format: mostly a JPEG, in 24 bits.
QXIML_API std::int32_t QXGetEmbeddedThumbnailInImage(const char16_t* pszPath, Gdiplus::Image** ppImage);

/// The whole picture, in the format that QXGetPixelFormat() tells.
QXIML_API std::int32_t QXLoadFileInImage(const char16_t* pszPath, Gdiplus::Image** ppImage);

/// The picture scaled to exactly the given size. The size is not changed.
QXIML_API std::int32_t QXResizeAndLoadFileInImage(const char16_t* pszPath, std::uint32_t* pnWidth,
                                                  std::uint32_t* pnHeight, Gdiplus::Image** ppImage);

QXIML_API std::int32_t QXGetImageWidth(const char16_t* pszPath, std::uint32_t* pnWidth);
QXIML_API std::int32_t QXGetImageHeight(const char16_t* pszPath, std::uint32_t* pnHeight);

/// Decodes a picture that lies in memory. The image does not refer to the bytes.
QXIML_API std::int32_t QXLoadImageFromMemory(const std::uint8_t* pBytes, std::int32_t nSize,
                                             Gdiplus::Image** ppImage);

/// Compresses as "jpg", with a quality from 1 to 100, or as "png". The buffer is a block of VirtualAlloc.
QXIML_API std::int32_t QXSaveQualityImageToMemory(Gdiplus::Image* pImage, const char16_t* pszFormat,
                                                  std::uint8_t** ppBuffer, std::int32_t* pnSize,
                                                  std::int32_t nQuality);

/// Decodes to ARGB pixels on the process heap. `*pnSize` comes in holding the bytes of the picture and goes
/// out holding those of the pixels. A picture that is larger than `*pSize` is fitted into it; `*pSize`
/// receives the size of the pixels.
QXIML_API std::int32_t QXConvertCompressedImageToARGBBuffer(const std::uint8_t* pBytes,
                                                            std::uint8_t** ppPixels, std::int32_t* pnSize,
                                                            IMLSize* pSize);

/// Releases a block of VirtualAlloc.
QXIML_API std::int32_t QXFreeMemoryBuffer(std::uint8_t* pBuffer);

/// The format of the image that a decode of the file gives: 24-bit, or 32-bit with alpha.
QXIML_API std::int32_t QXGetPixelFormat(const char16_t* pszPath, Gdiplus::PixelFormat* pFormat);

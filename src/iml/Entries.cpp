#include "Entries.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <span>
#include <string_view>
#include <vector>

#include "ByteSource.h"
#include "Compress.h"
#include "Limits.h"
#include "Picture.h"
#include "platform/Memory.h"
#include "platform/graphics/Image.h"

using Gdiplus::Bitmap;
using Gdiplus::BitmapData;
using Gdiplus::Image;

namespace {

// No exception leaves an entry; the only one that can come here says that memory is short.
template <typename Work>
std::int32_t Guard(Work work) {
    try {
        return work();
    } catch (...) {
        return IML_FAILED;
    }
}

std::int32_t HandOver(std::unique_ptr<Bitmap> pBitmap, Image** ppImage) {
    if (!pBitmap) return IML_FAILED;
    *ppImage = pBitmap.release();
    return 0;
}

// Reads the header of a file for one of its facts.
template <typename Fact, typename Read>
std::int32_t Tell(const char16_t* pszPath, Fact* pFact, Read read) {
    if (!pszPath || !pFact) return IML_FAILED;
    return Guard([&]() -> std::int32_t {
        FileSource source(pszPath);
        const Picture picture(source);
        if (!picture.IsGood()) return IML_FAILED;
        *pFact = read(picture);
        return 0;
    });
}

std::int32_t Load(const char16_t* pszPath, std::uint32_t width, std::uint32_t height, Image** ppImage) {
    if (!pszPath || !ppImage) return IML_FAILED;
    *ppImage = nullptr;
    return Guard([&]() -> std::int32_t {
        FileSource source(pszPath);
        Picture picture(source);
        return picture.IsGood() ? HandOver(picture.Decode(width, height), ppImage) : IML_FAILED;
    });
}

std::unique_ptr<Bitmap> DecodeThumbnail(ByteSource& file, const ByteRange& range) {
    SubSource source(file, range.offset, range.size);
    Picture thumbnail(source);
    if (!thumbnail.IsGood()) return nullptr;
    if (std::uint64_t{thumbnail.Info().width} * thumbnail.Info().height > kMaxThumbnailPixels) return nullptr;
    return thumbnail.Decode(0, 0);
}

// The size of a picture within a box; it keeps its aspect and is not enlarged. A box of 0 sets no limit.
IMLSize FitInto(const PictureInfo& info, const IMLSize& box) {
    if (box.nWidth == 0 || box.nHeight == 0) return {info.width, info.height};
    const double ratio = std::min(
        {1.0, static_cast<double>(box.nWidth) / info.width, static_cast<double>(box.nHeight) / info.height});
    const auto scale = [ratio](std::uint32_t side, std::uint32_t limit) {
        return std::clamp(static_cast<std::uint32_t>(side * ratio + 0.5), 1u, limit);
    };
    return {scale(info.width, box.nWidth), scale(info.height, box.nHeight)};
}

class LockedPixels {
  public:
    LockedPixels(Bitmap& bitmap, Gdiplus::PixelFormat format) : m_bitmap(bitmap) {
        m_good = bitmap.LockBits(nullptr, Gdiplus::ImageLockModeRead, format, &m_data) == Gdiplus::Ok;
    }
    ~LockedPixels() {
        if (m_good) m_bitmap.UnlockBits(&m_data);
    }
    LockedPixels(const LockedPixels&) = delete;
    LockedPixels& operator=(const LockedPixels&) = delete;

    const BitmapData* Get() const { return m_good ? &m_data : nullptr; }

  private:
    Bitmap& m_bitmap;
    BitmapData m_data;
    bool m_good;
};

std::vector<std::uint8_t> Compress(Bitmap& bitmap, std::u16string_view format, int quality) {
    const LockedPixels pixels(bitmap, bitmap.GetPixelFormat());
    if (!pixels.Get()) return {};
    if (format == u"jpg") return CompressJpeg(*pixels.Get(), quality);
    if (format == u"png") return CompressPng(*pixels.Get());
    return {};
}

std::int32_t CopyToPages(const std::vector<std::uint8_t>& bytes, std::uint8_t** ppBuffer,
                         std::int32_t* pnSize) {
    if (bytes.empty() || bytes.size() > INT32_MAX) return IML_FAILED;
    void* pBlock = Platform::VirtualAlloc(nullptr, bytes.size(), Platform::MEM_COMMIT | Platform::MEM_RESERVE,
                                          Platform::PAGE_READWRITE);
    if (!pBlock) return IML_FAILED;
    std::memcpy(pBlock, bytes.data(), bytes.size());
    *ppBuffer = static_cast<std::uint8_t*>(pBlock);
    *pnSize = static_cast<std::int32_t>(bytes.size());
    return 0;
}

// Straight into the block that is handed out: no copy, and no more fresh memory than that.
std::int32_t DecodeToHeap(Picture& picture, IMLSize size, std::uint8_t** ppPixels, std::int32_t* pnSize) {
    const std::size_t rowBytes = std::size_t{size.nWidth} * 4;
    const std::size_t bytes = rowBytes * size.nHeight;
    if (bytes > INT32_MAX) return IML_FAILED;
    const auto release = [](std::uint8_t* pBlock) { HeapFree(GetProcessHeap(), 0, pBlock); };
    std::unique_ptr<std::uint8_t, decltype(release)> block(
        static_cast<std::uint8_t*>(Platform::HeapAlloc(GetProcessHeap(), 0, bytes)), release);
    if (!block) return IML_FAILED;
    const PixelPlace place{block.get(), static_cast<std::ptrdiff_t>(rowBytes)};
    if (!picture.DecodeTo(size.nWidth, size.nHeight, Gdiplus::PixelFormat32bppARGB, place)) return IML_FAILED;
    *ppPixels = block.release();
    *pnSize = static_cast<std::int32_t>(bytes);
    return 0;
}

std::span<const std::uint8_t> AsBytes(const std::uint8_t* pBytes, std::int32_t nSize) {
    return {pBytes, pBytes && nSize > 0 ? static_cast<std::size_t>(nSize) : 0};
}

}  // namespace

std::int32_t QXGetImageWidth(const char16_t* pszPath, std::uint32_t* pnWidth) {
    return Tell(pszPath, pnWidth, [](const Picture& picture) { return picture.Info().width; });
}

std::int32_t QXGetImageHeight(const char16_t* pszPath, std::uint32_t* pnHeight) {
    return Tell(pszPath, pnHeight, [](const Picture& picture) { return picture.Info().height; });
}

std::int32_t QXGetPixelFormat(const char16_t* pszPath, Gdiplus::PixelFormat* pFormat) {
    return Tell(pszPath, pFormat, [](const Picture& picture) { return picture.Format(); });
}

std::int32_t QXLoadFileInImage(const char16_t* pszPath, Image** ppImage) {
    return Load(pszPath, 0, 0, ppImage);
}

std::int32_t QXResizeAndLoadFileInImage(const char16_t* pszPath, std::uint32_t* pnWidth,
                                        std::uint32_t* pnHeight, Image** ppImage) {
    if (!pnWidth || !pnHeight || *pnWidth == 0 || *pnHeight == 0) return IML_FAILED;
    return Load(pszPath, *pnWidth, *pnHeight, ppImage);
}

std::int32_t QXGetEmbeddedThumbnailInImage(const char16_t* pszPath, Image** ppImage) {
    if (!pszPath || !ppImage) return IML_FAILED;
    *ppImage = nullptr;
    return Guard([&]() -> std::int32_t {
        FileSource source(pszPath);
        Picture picture(source);
        ByteRange range;
        if (!picture.IsGood()) return IML_FAILED;
        if (!picture.FindThumbnail(range)) return IML_NO_THUMBNAIL;
        return HandOver(DecodeThumbnail(source, range), ppImage);
    });
}

std::int32_t QXLoadImageFromMemory(const std::uint8_t* pBytes, std::int32_t nSize, Image** ppImage) {
    if (!ppImage) return IML_FAILED;
    *ppImage = nullptr;
    return Guard([&]() -> std::int32_t {
        MemorySource source(AsBytes(pBytes, nSize));
        Picture picture(source);
        return picture.IsGood() ? HandOver(picture.Decode(0, 0), ppImage) : IML_FAILED;
    });
}

std::int32_t QXSaveQualityImageToMemory(Image* pImage, const char16_t* pszFormat, std::uint8_t** ppBuffer,
                                        std::int32_t* pnSize, std::int32_t nQuality) {
    auto* pBitmap = dynamic_cast<Bitmap*>(pImage);
    if (!pBitmap || !pszFormat || !ppBuffer || !pnSize) return IML_FAILED;
    *ppBuffer = nullptr;
    return Guard([&] { return CopyToPages(Compress(*pBitmap, pszFormat, nQuality), ppBuffer, pnSize); });
}

std::int32_t QXConvertCompressedImageToARGBBuffer(const std::uint8_t* pBytes, std::uint8_t** ppPixels,
                                                  std::int32_t* pnSize, IMLSize* pSize) {
    if (!ppPixels || !pnSize || !pSize) return IML_FAILED;
    *ppPixels = nullptr;
    return Guard([&]() -> std::int32_t {
        MemorySource source(AsBytes(pBytes, *pnSize));
        Picture picture(source);
        if (!picture.IsGood()) return IML_FAILED;
        const IMLSize size = FitInto(picture.Info(), *pSize);
        const std::int32_t result = DecodeToHeap(picture, size, ppPixels, pnSize);
        if (result == 0) *pSize = size;
        return result;
    });
}

std::int32_t QXFreeMemoryBuffer(std::uint8_t* pBuffer) {
    return VirtualFree(pBuffer, 0, MEM_RELEASE) ? 0 : IML_FAILED;
}

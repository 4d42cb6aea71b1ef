#include "Foreground.h"

#include "platform/Memory.h"
#include "platform/Text.h"

namespace Bench {
namespace {

void RequireThumbnail(std::uint32_t result, int bDefault, const std::u16string& path) {
    Require(result == QXTNG_SUCCESS && bDefault == 0,
            "no thumbnail, result " + std::to_string(result) + ": " + Platform::PathToBytes(path));
}

}  // namespace

std::unique_ptr<Gdiplus::Image> ThumbnailImage(const std::u16string& path, std::uint32_t box,
                                               TNGSourceMode mode) {
    Gdiplus::Image* pImage = nullptr;
    int origin = 0;
    int bDefault = 1;
    const auto result = QXGenerateThumbnailImageInForeGround(path.c_str(), {box, box}, static_cast<int>(mode),
                                                             &pImage, &origin, &bDefault);
    std::unique_ptr<Gdiplus::Image> image(pImage);
    RequireThumbnail(result, bDefault, path);
    return image;
}

Bytes ThumbnailFile(const std::u16string& path, std::uint32_t box, TNGSourceMode mode) {
    unsigned char* pBuffer = nullptr;
    long length = 0;
    int origin = 0;
    int bDefault = 1;
    const auto result = QXGenerateThumbnailCompressedBufferInForeGround(
        path.c_str(), {box, box}, static_cast<int>(mode), &pBuffer, &length, &origin, &bDefault);
    RequireThumbnail(result, bDefault, path);
    Bytes bytes(pBuffer, pBuffer + length);
    VirtualFree(pBuffer, 0, MEM_RELEASE);
    return bytes;
}

}  // namespace Bench

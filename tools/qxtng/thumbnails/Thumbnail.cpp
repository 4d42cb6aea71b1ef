#include "Thumbnail.h"

#include "api/QxTng.h"
#include "cutil/AssetType.h"
#include "files/SourceFile.h"
#include "platform/Memory.h"
#include "platform/Text.h"
#include "terminal/Messages.h"

namespace Client {
namespace {

void CheckResult(std::uint32_t result) {
    switch (result) {
        case QXTNG_SUCCESS:
            return;
        case QXTNG_ERROR_INVALID_ARGUMENT:
            throw Failure("not a file that can be read");
        case QXTNG_ERROR_CACHE_LOCKED:
            throw Failure("the cache is in use by another program; try again");
        case QXTNG_ERROR_PRODUCTION_FAILED:
            throw Failure("the image library is missing, or failed; see --log info");
        default:
            throw Failure("the thumbnail library answered with error " + std::to_string(result));
    }
}

/// A default image stands for a file that has no picture, or for a picture that cannot be read. Only what
/// is no still picture is refused an original size with one of the two results below.
void CheckDefaultImage(const std::string& path, int isDefault) {
    if (isDefault == 0) return;
    if (QxzCUtil::GetAssetType(Platform::PathFromBytes(path).c_str()) == ASSET_TYPE_UNKNOWN)
        throw Failure("its name has no extension of a picture, video or audio file");
    TNGSize size{};
    const std::uint32_t result = GetSizeOriginal(Platform::PathFromBytes(path).c_str(), &size);
    if (result == QXTNG_ERROR_UNSUPPORTED_FILE || result == QXTNG_ERROR_FAILED) return;
    if (IsEmptyFile(path)) throw Failure("empty file");
    throw Failure("damaged, or not the kind of picture that its name says");
}

}  // namespace

void CompressedThumbnail::Release::operator()(unsigned char* pBuffer) const {
    VirtualFree(pBuffer, 0, MEM_RELEASE);
}

CompressedThumbnail MakeCompressedThumbnail(const ThumbnailRequest& request) {
    CheckReadable(request.path);
    const std::u16string path = Platform::PathFromBytes(request.path);
    unsigned char* pBuffer = nullptr;
    long length = 0;
    int origin = ORIGIN_DEFAULT;
    int isDefault = 1;
    const std::uint32_t result = QXGenerateThumbnailCompressedBufferInForeGround(
        path.c_str(), request.box, static_cast<int>(request.mode), &pBuffer, &length, &origin, &isDefault);
    CompressedThumbnail thumbnail(pBuffer, static_cast<std::size_t>(length), static_cast<TNGOrigin>(origin));
    CheckResult(result);
    CheckDefaultImage(request.path, isDefault);
    return thumbnail;
}

std::uint32_t FileRequest(const ThumbnailRequest& request, TNGThumbnailCallback pfnCallback,
                          TNGBackgroundContext& context, unsigned* threadId) {
    return QXGenerateThumbnailInBackGround(Platform::PathFromBytes(request.path).c_str(), request.box,
                                           static_cast<int>(request.mode), TNG_OUTPUT_COMPRESSED, pfnCallback,
                                           &context, threadId);
}

CompressedThumbnail TakeThumbnail(const std::string& path, const TNGThumbnailResult& record) {
    CompressedThumbnail thumbnail(static_cast<unsigned char*>(record.pResult), record.nWidthOrLength,
                                  static_cast<TNGOrigin>(record.eOrigin));
    if (!record.pResult) CheckResult(QXTNG_ERROR_PRODUCTION_FAILED);
    CheckDefaultImage(path, static_cast<int>(record.bDefault));
    return thumbnail;
}

ImageThumbnail MakeImageThumbnail(const ThumbnailRequest& request) {
    CheckReadable(request.path);
    const std::u16string path = Platform::PathFromBytes(request.path);
    Gdiplus::Image* pImage = nullptr;
    int origin = ORIGIN_DEFAULT;
    int isDefault = 1;
    const std::uint32_t result = QXGenerateThumbnailImageInForeGround(
        path.c_str(), request.box, static_cast<int>(request.mode), &pImage, &origin, &isDefault);
    ImageThumbnail thumbnail{std::unique_ptr<Gdiplus::Bitmap>(static_cast<Gdiplus::Bitmap*>(pImage)),
                             static_cast<TNGOrigin>(origin)};
    CheckResult(result);
    CheckDefaultImage(request.path, isDefault);
    return thumbnail;
}

std::optional<TNGSize> OriginalSize(const std::string& path) {
    TNGSize size{};
    if (GetSizeOriginal(Platform::PathFromBytes(path).c_str(), &size) != QXTNG_SUCCESS) return std::nullopt;
    return size;
}

CacheEntry FindCacheEntry(const std::string& path) {
    int isUpToDate = 0;
    if (IsCachedThumbnailUpToDate(Platform::PathFromBytes(path).c_str(), &isUpToDate) != QXTNG_SUCCESS)
        return CacheEntry::None;
    return isUpToDate != 0 ? CacheEntry::UpToDate : CacheEntry::OutOfDate;
}

std::string_view NameOf(TNGOrigin origin) {
    switch (origin) {
        case ORIGIN_EMBEDDED:
            return "embedded";
        case ORIGIN_DECODED:
            return "decoded";
        case ORIGIN_DEFAULT:
            return "default";
        case ORIGIN_CACHED:
            return "cached";
    }
    return "unknown";
}

std::string ToText(TNGSize size) {
    return std::to_string(size.nWidth) + 'x' + std::to_string(size.nHeight);
}

}  // namespace Client

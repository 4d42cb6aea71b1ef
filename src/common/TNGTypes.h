#pragma once

#include <cstdint>

/// The vocabulary of the thumbnail library: result codes, boxes, output forms, origins, and the records of
/// a background request. All numbers are part of the binary interface and never change.

namespace Gdiplus {
class Image;
}

/// What every export answers. The failures have no order: compare for equality.
enum TNGResult : std::uint32_t {
    QXTNG_SUCCESS = 0,
    /// The background thread still works on its previous request.
    QXTNG_ERROR_THREAD_BUSY = 1,
    /// No such background thread, or it has ended.
    QXTNG_ERROR_THREAD_NOT_FOUND = 2,
    /// The system has no resources for another thread.
    QXTNG_ERROR_THREAD_RESOURCES = 3,
    /// A failure that has no finer code.
    QXTNG_ERROR_FAILED = 4,
    /// A null pointer, an empty or missing path, a zero size.
    QXTNG_ERROR_INVALID_ARGUMENT = 5,
    /// The image library could not be bound, or no thumbnail could be made or brought into the asked form.
    QXTNG_ERROR_PRODUCTION_FAILED = 6,
    /// The cache is not enabled.
    QXTNG_ERROR_CACHE_DISABLED = 7,
    /// The cache holds nothing on the thing asked about.
    QXTNG_ERROR_NOT_CACHED = 8,
    /// The file is of a type that has no image size: audio, or not supported.
    QXTNG_ERROR_UNSUPPORTED_FILE = 9,
    /// A lock within the process could not be taken in time.
    QXTNG_ERROR_LOCK_FAILED = 10,
    /// A cache file could not be opened or read.
    QXTNG_ERROR_FILE_READ = 11,
    /// A cache file could not be written.
    QXTNG_ERROR_FILE_WRITE = 12,
    /// The lock on the whole cache could not be taken, or there is no cache folder yet.
    QXTNG_ERROR_CACHE_LOCKED = 13,
};

/// The shape in which a thumbnail is handed over.
enum TNGOutputForm : std::uint32_t {
    /// An image object; see platform/graphics/Image.h.
    TNG_OUTPUT_IMAGE = 0,
    /// A file in memory: PNG for the thumbnail of a PNG file, either for a default image, else JPEG.
    TNG_OUTPUT_COMPRESSED = 1,
    /// Pixels of four bytes, in memory B, G, R, A, colour not multiplied by alpha; rows from the top, without
    /// gaps between them.
    TNG_OUTPUT_ARGB = 2,
};

/// What a source file is, judged by its extension. Stored in cache files.
enum TNGAssetType : std::uint32_t {
    ASSET_TYPE_UNKNOWN = 0,
    /// A still picture, the only type that is decoded.
    ASSET_TYPE_IMAGE = 1,
    ASSET_TYPE_AUDIO = 2,
    ASSET_TYPE_VIDEO = 3,
    /// Both are treated as ASSET_TYPE_UNKNOWN.
    ASSET_TYPE_OTHER_4 = 4,
    ASSET_TYPE_OTHER_5 = 5,
};

/// Where a thumbnail came from.
enum TNGOrigin : std::uint32_t {
    /// The thumbnail embedded in the file, or a cache entry that was made from it.
    ORIGIN_EMBEDDED = 0,
    /// Decoded from the file.
    ORIGIN_DECODED = 1,
    /// A default image: the stock picture for files that yield none of their own.
    ORIGIN_DEFAULT = 2,
    /// Read from the cache.
    ORIGIN_CACHED = 3,
};

/// How a still picture is read.
enum TNGSourceMode : std::uint32_t {
    /// The embedded thumbnail if there is one, even if it is smaller than the box; else a decode.
    TNG_SOURCE_EMBEDDED_OR_DECODE = 0,
    /// The embedded thumbnail only if it reaches the box in width or in height; else a decode.
    TNG_SOURCE_EMBEDDED_FILLED_OR_DECODE = 1,
    /// Always a decode.
    TNG_SOURCE_DECODE_ONLY = 2,
};

/// Width and height in pixels.
struct TNGSize {
    std::uint32_t nWidth;
    std::uint32_t nHeight;
};

/// The boxes of the renditions that the cache keeps of a file. A thumbnail fits into its box and keeps the
/// aspect of the picture; a picture that is smaller than the box stays as it is.
inline constexpr TNGSize TNG_SMALL_BOX = {32, 32};
/// Requests of at most this size are answered from the cache, but for PNG files.
inline constexpr TNGSize TNG_LARGE_BOX = {160, 160};
/// Kept for videos and for files at or above the threshold.
inline constexpr TNGSize TNG_EXTRA_LARGE_BOX = {800, 800};

/// The result of a background request. The caller owns the record; the library fills it before it makes
/// the callback.
struct TNGThumbnailResult {
    /// A Gdiplus::Image (TNG_OUTPUT_IMAGE) or a buffer (the other forms), owned by the caller from the
    /// callback on; null if nothing could be made.
    void* pResult;
    /// Width in pixels; for TNG_OUTPUT_COMPRESSED the length in bytes.
    std::uint32_t nWidthOrLength;
    /// Height in pixels; 0 for TNG_OUTPUT_COMPRESSED.
    std::uint32_t nHeight;
    std::uint32_t eOutputForm;
    std::uint32_t eAssetType;
    /// Neither read nor written.
    std::uint32_t nUnused;
    /// 1 if `pResult` is a default image or null, 0 for a thumbnail of the file.
    std::uint32_t bDefault;
    std::uint32_t eOrigin;
};

/// What a background request hands back to its callback. Callers put data of their own behind the member.
/// It must not change while the request is under way.
struct TNGBackgroundContext {
    TNGThumbnailResult* pRecord;
};

/// Receives the result of a background request, on the background thread, which is idle by then: the
/// callback may file the next request on the same thread id.
using TNGThumbnailCallback = void (*)(TNGBackgroundContext* pContext);

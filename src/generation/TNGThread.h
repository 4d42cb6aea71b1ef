#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "TNGRequest.h"
#include "TNGThumbnailData.h"

class CTNGThumbnailProducer;

/// The generation of thumbnails.
class CTNGThread {
  public:
    /// Makes one thumbnail on the caller's thread, or has it from the cache. `ppImage` or `ppBuffer` receives
    /// the result, whichever goes with the form; the other may be null. `*pResultSize` receives its size, or
    /// its length in bytes and 0.
    static std::uint32_t GenerateThumbnail(const TNGRequest& request, Gdiplus::Image** ppImage,
                                           std::uint8_t** ppBuffer, TNGSize* pResultSize, int* peOrigin,
                                           int* pbDefault);

    /// Brings the cache up to date for work on a path. The caller has entered the cache.
    static void InitializeCache(const std::u16string& path);

    /// Makes the renditions of a file that the cache has nothing of, stores them, and leaves in `pResult` the
    /// one that suits the request, as an image or compressed. True, or false and nothing. The caller has
    /// entered the cache.
    static bool GenerateAndAddThumbnailToCache(CTNGThumbnailProducer& producer, const TNGRequest& request,
                                               std::uint32_t eAssetType, TNGThumbnailData* pResult,
                                               int* pbDefault, int* peOrigin);

    /// Has the thumbnail of a video or a large file from the cache. 0, or a result code, with which the
    /// caller turns to the file.
    static std::uint32_t CheckAndGetVideoOrLargeTHBFromCache(const TNGRequest& request,
                                                             std::unique_ptr<Gdiplus::Image>* ppImage,
                                                             int* peOrigin);

    /// Stores the image that was made for a request, unless the cache has it by now. The caller has entered
    /// the cache.
    static void FeedCache(CTNGThumbnailProducer& producer, const TNGRequest& request,
                          std::uint32_t eAssetType, Gdiplus::Image& image, int eOrigin,
                          const TNGSize& originalSize);
};

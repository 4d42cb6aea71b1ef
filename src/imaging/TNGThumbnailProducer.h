#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "common/TNGTypes.h"
#include "imaging/TNGImageScaling.h"
#include "platform/graphics/Image.h"

/// Kinds of default images, as the producer names them.
enum TNGDefaultKind : int {
    TNG_DEFAULT_GENERIC = 0,
    TNG_DEFAULT_AUDIO = 2,
    TNG_DEFAULT_VIDEO = 3,
};

/// Turns one source file into one image that fits a box: the embedded thumbnail where that is allowed and
/// good enough, else the file decoded and scaled, else a default image.
///
/// In this order: make it or Reinitialize() it, look at m_eStatus, set m_eSourceMode, GetOriginalImageSize(),
/// set the box, GenerateThumbnailImage(). One thread at a time.
class CTNGThumbnailProducer {
  public:
    /// Binds the image library if necessary; m_eStatus tells whether it is there.
    CTNGThumbnailProducer(const std::u16string& path, std::uint32_t eAssetType);

    /// Takes the next file; the source mode stays.
    void Reinitialize(const std::u16string& path, std::uint32_t eAssetType);

    /// Pixels of the picture in the file. False, and a status, if they cannot be told; never for a video.
    bool GetOriginalImageSize(TNGSize* pSize);

    /// Makes the image. `*pbDefault` receives 0 for a thumbnail of the file, else 1; `*peOrigin` a TNGOrigin.
    /// Null if not even a default image could be had.
    std::unique_ptr<Gdiplus::Image> GenerateThumbnailImage(const TNGSize& originalSize, int* pbDefault,
                                                           int* peOrigin);

    std::uint32_t m_eSourceMode = TNG_SOURCE_EMBEDDED_OR_DECODE;
    std::uint32_t m_nMaxWidth = 0;  // the box, pixels
    std::uint32_t m_nMaxHeight = 0;
    TNGProducerStatus m_eStatus = TNG_PRODUCER_OK;  // outcome of the last operation

  private:
    bool LoadDefaultImage(int eKind);
    bool LoadPicture(const TNGSize& originalSize, int* peOrigin);
    bool LoadScaledImage(const TNGSize& originalSize);
    bool LoadFromLibrary(const TNGSize& originalSize, TNGSize* pNewSize, bool* pbResize);
    bool LibraryScalesWhileDecoding() const;
    bool GetEmbeddedThumbnail(const TNGSize& originalSize, bool bStrict);
    bool TrimEmbeddedThumbnail(const TNGSize& originalSize);
    bool RedrawTo(const TNGSize& size, Gdiplus::PixelFormat format);
    bool Fail(TNGProducerStatus eStatus);
    void BindLibrary();

    std::u16string m_strFilePath;
    std::unique_ptr<Gdiplus::Image> m_pImage;  // the image in work; null between operations
    std::uint32_t m_eAssetType;
};

/// The default image of an asset type, fitted into the box; null if it cannot be loaded. The image library
/// must be bound.
std::unique_ptr<Gdiplus::Image> LoadDefaultThumbnail(std::uint32_t eAssetType, const TNGSize& box);

#include "TNGThumbnailProducer.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <utility>

#include "common/TNGLog.h"
#include "common/TNGPngName.h"
#include "imaging/TNGDefaultImages.h"
#include "imaging/TNGImageLibrary.h"

using Gdiplus::Image;
using Gdiplus::PixelFormat;
using Gdiplus::PixelFormat24bppRGB;
using Gdiplus::PixelFormat32bppARGB;

namespace {

constexpr char16_t s_szLogSource[] = u"TNGThumbnailProducer";

// An embedded thumbnail may differ from the picture's aspect by this many pixels before it is cut.
constexpr double kToleratedExcess = 5.0;

// Formats of files that the library may scale while it decodes them.
constexpr PixelFormat kScalableFormats[] = {
    0x21808,   // 24bppRGB
    0x22009,   // 32bppRGB
    0x26200A,  // 32bppARGB
    0xE200B,   // 32bppPARGB
    0x21005,   // 16bppRGB555
    0x21006,   // 16bppRGB565
    0x61007,   // 16bppARGB1555
    0x101004,  // 16bppGrayScale
};

const char16_t* DefaultImagePath(int eKind) {
    switch (eKind) {
        case TNG_DEFAULT_GENERIC:
            return s_szOtherImagePath;
        case TNG_DEFAULT_AUDIO:
            return s_szAudioImagePath;
        case TNG_DEFAULT_VIDEO:
            return s_szVideoImagePath;
        default:
            return u"";
    }
}

// Adopts what an entry of the library gave: its result, and an image or null.
template <typename Call>
std::int32_t LoadInto(std::unique_ptr<Image>& pImage, Call call) {
    Image* pLoaded = nullptr;
    const std::int32_t result = call(&pLoaded);
    pImage.reset(pLoaded);
    return result;
}

}  // namespace

CTNGThumbnailProducer::CTNGThumbnailProducer(const std::u16string& path, std::uint32_t eAssetType)
    : m_strFilePath(path), m_eAssetType(eAssetType) {
    BindLibrary();
}

void CTNGThumbnailProducer::Reinitialize(const std::u16string& path, std::uint32_t eAssetType) {
    m_strFilePath = path;
    m_eAssetType = eAssetType;
    BindLibrary();
    m_pImage = nullptr;
}

void CTNGThumbnailProducer::BindLibrary() {
    const bool bBound = IsImageLibraryBound() || LoadImageLibrary();
    m_eStatus = bBound ? TNG_PRODUCER_OK : TNG_PRODUCER_LIBRARY_MISSING;
}

bool CTNGThumbnailProducer::Fail(TNGProducerStatus eStatus) {
    m_eStatus = eStatus;
    m_pImage = nullptr;
    return false;
}

bool CTNGThumbnailProducer::GetOriginalImageSize(TNGSize* pSize) {
    TNG_LOG(TNG_LOG_ENTER, u"GetOriginalImageSize");
    TNG_LOG(TNG_LOG_INFO, m_strFilePath.c_str());
    if (!pSize) return false;
    if (m_eAssetType == ASSET_TYPE_VIDEO) {
        TNG_LOG(TNG_LOG_INFO, u"CTNGThumbnailProducer::GetOriginalImageSize,Video library is not installed");
        return false;
    }
    const auto pfnWidth = s_imageLibrary.m_pQXGetImageWidth.Get();
    const auto pfnHeight = s_imageLibrary.m_pQXGetImageHeight.Get();
    if (!pfnWidth || !pfnHeight) {
        m_eStatus = TNG_PRODUCER_LIBRARY_MISSING;
        return false;
    }
    const auto failed = [this](const char16_t* pszText) {
        m_eStatus = TNG_PRODUCER_LIBRARY_CALL_FAILED;
        TNG_LOG(TNG_LOG_INFO, pszText);
        TNG_LOG(TNG_LOG_LEAVE, u"GetOriginalImageSize");
        return false;
    };
    std::uint32_t nPixels = 0;
    if (pfnWidth(m_strFilePath.c_str(), &nPixels) != 0)
        return failed(u"IML call failed for getting image width");
    pSize->nWidth = nPixels;
    if (pfnHeight(m_strFilePath.c_str(), &nPixels) != 0)
        return failed(u"IML call failed for getting image height");
    pSize->nHeight = nPixels;
    m_eStatus = TNG_PRODUCER_OK;
    return true;
}

std::unique_ptr<Image> CTNGThumbnailProducer::GenerateThumbnailImage(const TNGSize& originalSize,
                                                                     int* pbDefault, int* peOrigin) {
    m_pImage = nullptr;
    *pbDefault = 1;
    if (!IsImageLibraryBound()) return nullptr;
    switch (m_eAssetType) {
        case ASSET_TYPE_AUDIO:
            if (LoadDefaultImage(TNG_DEFAULT_AUDIO)) *peOrigin = ORIGIN_DEFAULT;
            break;
        case ASSET_TYPE_VIDEO:
            if (LoadDefaultImage(TNG_DEFAULT_VIDEO)) *peOrigin = ORIGIN_DEFAULT;
            break;
        case ASSET_TYPE_IMAGE:
            if (LoadPicture(originalSize, peOrigin)) {
                *pbDefault = 0;
            } else {
                m_pImage = nullptr;
            }
            break;
        default:
            break;
    }
    if (!m_pImage || m_pImage->GetLastStatus() != Gdiplus::Ok) {
        m_pImage = nullptr;
        if (LoadDefaultImage(TNG_DEFAULT_GENERIC)) *peOrigin = ORIGIN_DEFAULT;
        *pbDefault = 1;
    }
    return std::move(m_pImage);
}

bool CTNGThumbnailProducer::LoadPicture(const TNGSize& originalSize, int* peOrigin) {
    bool bLoaded = false;
    switch (m_eSourceMode) {
        case TNG_SOURCE_EMBEDDED_OR_DECODE:
        case TNG_SOURCE_EMBEDDED_FILLED_OR_DECODE:
            if (GetEmbeddedThumbnail(originalSize, m_eSourceMode == TNG_SOURCE_EMBEDDED_FILLED_OR_DECODE)) {
                *peOrigin = ORIGIN_EMBEDDED;
                bLoaded = true;
            } else {
                bLoaded = LoadScaledImage(originalSize);
                *peOrigin = ORIGIN_DECODED;
            }
            break;
        case TNG_SOURCE_DECODE_ONLY:
            bLoaded = LoadScaledImage(originalSize);
            if (bLoaded && m_pImage) *peOrigin = ORIGIN_DECODED;
            break;
        default:
            break;
    }
    return bLoaded && m_pImage;
}

bool CTNGThumbnailProducer::LoadDefaultImage(int eKind) {
    if (eKind == 1) return false;
    const std::u16string path = std::exchange(m_strFilePath, DefaultImagePath(eKind));
    const std::uint32_t eAssetType = std::exchange(m_eAssetType, ASSET_TYPE_IMAGE);
    TNGSize size{0, 0};
    GetOriginalImageSize(&size);
    LoadScaledImage(size);
    m_strFilePath = path;
    m_eAssetType = eAssetType;
    if (m_eStatus == TNG_PRODUCER_LIBRARY_CALL_FAILED) m_eStatus = TNG_PRODUCER_DEFAULT_IMAGE_FAILED;
    return m_pImage != nullptr;
}

bool CTNGThumbnailProducer::LibraryScalesWhileDecoding() const {
    PixelFormat format = 0;
    if (s_imageLibrary.m_pQXGetPixelFormat.Get()(m_strFilePath.c_str(), &format) != 0) return false;
    return std::ranges::find(kScalableFormats, format) != std::end(kScalableFormats);
}

// Has the library load the file at the size that is wanted, if it can, else at its own; `*pbResize` then
// says that the size is still to be changed. `*pNewSize` receives the size wanted.
bool CTNGThumbnailProducer::LoadFromLibrary(const TNGSize& originalSize, TNGSize* pNewSize, bool* pbResize) {
    const char16_t* pszPath = m_strFilePath.c_str();
    const auto loadWhole = [=](Image** ppImage) {
        return s_imageLibrary.m_pQXLoadFileInImage.Get()(pszPath, ppImage);
    };
    const auto loadScaled = [=](Image** ppImage) {
        const auto pfnLoad = s_imageLibrary.m_pQXResizeAndLoadFileInImage.Get();
        return pfnLoad(pszPath, &pNewSize->nWidth, &pNewSize->nHeight, ppImage);
    };
    *pNewSize = originalSize;
    *pbResize = false;
    std::int32_t result = 0;
    if (originalSize.nWidth <= m_nMaxWidth && originalSize.nHeight <= m_nMaxHeight) {
        result = LoadInto(m_pImage, loadWhole);
    } else {
        *pNewSize = FitIntoBox(originalSize, {m_nMaxWidth, m_nMaxHeight});
        *pbResize = !LibraryScalesWhileDecoding();
        result = *pbResize ? LoadInto(m_pImage, loadWhole) : LoadInto(m_pImage, loadScaled);
    }
    return result == 0 && m_pImage;
}

bool CTNGThumbnailProducer::LoadScaledImage(const TNGSize& originalSize) {
    if (!IsImageLibraryBound()) {
        m_eStatus = TNG_PRODUCER_LIBRARY_MISSING;
        return false;
    }
    TNGSize newSize{};
    bool bResize = false;
    if (!LoadFromLibrary(originalSize, &newSize, &bResize)) return Fail(TNG_PRODUCER_LIBRARY_CALL_FAILED);

    const bool bPng = HasPngExtension(m_strFilePath);
    if (!bResize) {
        if (bPng || m_pImage->GetPixelFormat() == PixelFormat24bppRGB) return true;
        if (auto pClone = CloneArea(*m_pImage, 0, 0, SizeOf(*m_pImage), PixelFormat24bppRGB)) {
            m_eStatus = TNG_PRODUCER_OK;
            m_pImage = std::move(pClone);
            return true;
        }
    }
    return RedrawTo(newSize, bPng ? PixelFormat32bppARGB : PixelFormat24bppRGB);
}

bool CTNGThumbnailProducer::RedrawTo(const TNGSize& size, PixelFormat format) {
    if (!Redraw(m_pImage, size, format)) return Fail(TNG_PRODUCER_GRAPHICS_FAILED);
    m_eStatus = TNG_PRODUCER_OK;
    return true;
}

bool CTNGThumbnailProducer::GetEmbeddedThumbnail(const TNGSize& originalSize, bool bStrict) {
    if (!IsImageLibraryBound()) {
        m_eStatus = TNG_PRODUCER_LIBRARY_MISSING;
        return false;
    }
    constexpr std::int32_t kRefused = 10;
    const std::int32_t result = LoadInto(m_pImage, [this](Image** ppImage) {
        return s_imageLibrary.m_pQXGetEmbeddedThumbnailInImage.Get()(m_strFilePath.c_str(), ppImage);
    });
    if (result == kRefused) return Fail(TNG_PRODUCER_EMBEDDED_REFUSED);
    if (result != 0 || !m_pImage) return Fail(TNG_PRODUCER_LIBRARY_CALL_FAILED);
    if (!TrimEmbeddedThumbnail(originalSize)) return Fail(TNG_PRODUCER_GRAPHICS_FAILED);

    const TNGSize size = SizeOf(*m_pImage);
    const TNGSize box{m_nMaxWidth, m_nMaxHeight};
    const bool bResize = size.nHeight > box.nHeight || size.nWidth > box.nWidth;
    const bool bFillsBox = size.nWidth == box.nWidth || size.nHeight == box.nHeight;
    if (!bResize && bStrict && !bFillsBox) return Fail(TNG_PRODUCER_GRAPHICS_FAILED);
    if (!bResize && m_pImage->GetPixelFormat() == PixelFormat24bppRGB) return true;
    return RedrawTo(bResize ? FitIntoBox(originalSize, box) : size, PixelFormat24bppRGB);
}

bool CTNGThumbnailProducer::TrimEmbeddedThumbnail(const TNGSize& originalSize) {
    if (!m_pImage) return false;
    const TNGSize size = SizeOf(*m_pImage);
    if (size.nWidth == 0 || size.nHeight == 0) return false;
    if (originalSize.nWidth == 0 || originalSize.nHeight == 0) return false;
    const bool bCrosswise = (size.nHeight > size.nWidth && originalSize.nWidth > originalSize.nHeight) ||
                            (size.nWidth > size.nHeight && originalSize.nHeight > originalSize.nWidth);
    if (bCrosswise) return false;

    const double ratio = std::min(static_cast<double>(size.nWidth) / originalSize.nWidth,
                                  static_cast<double>(size.nHeight) / originalSize.nHeight);
    const double excessWidth = std::abs(size.nWidth - originalSize.nWidth * ratio);
    const double excessHeight = std::abs(size.nHeight - originalSize.nHeight * ratio);
    if (excessWidth <= kToleratedExcess && excessHeight <= kToleratedExcess) return true;

    const TNGSize cutSize{static_cast<std::uint32_t>(size.nWidth - excessWidth),
                          static_cast<std::uint32_t>(size.nHeight - excessHeight)};
    auto pCut = CloneArea(*m_pImage, static_cast<int>(excessWidth) / 2, static_cast<int>(excessHeight) / 2,
                          cutSize, PixelFormat24bppRGB);
    if (!pCut) return false;
    m_pImage = std::move(pCut);
    return true;
}

std::unique_ptr<Image> LoadDefaultThumbnail(std::uint32_t eAssetType, const TNGSize& box) {
    const char16_t* pszPath = eAssetType == ASSET_TYPE_AUDIO   ? s_szAudioImagePath
                              : eAssetType == ASSET_TYPE_VIDEO ? s_szVideoImagePath
                                                               : s_szOtherImagePath;
    std::unique_ptr<Image> pImage;
    const std::int32_t result = LoadInto(pImage, [pszPath](Image** ppImage) {
        return s_imageLibrary.m_pQXLoadFileInImage.Get()(pszPath, ppImage);
    });
    if (result != 0 || !pImage) return pImage;
    const TNGSize size = SizeOf(*pImage);
    const bool bPng = IsFilePNG(pszPath, ORIGIN_DEFAULT, ASSET_TYPE_VIDEO);
    if (size.nWidth < box.nWidth && size.nHeight < box.nHeight) {
        ConvertImageFormat(bPng, false, {}, pImage);
    } else {
        ScaleImage(pImage, box, bPng, nullptr);
    }
    return pImage;
}

#include "TNGThumbnailData.h"

#include "common/TNGLog.h"
#include "imaging/TNGDefaultImages.h"
#include "imaging/TNGImageLibrary.h"
#include "imaging/TNGImageScaling.h"

namespace {

constexpr char16_t s_szLogSource[] = u"TNGThread";

TNGSize BoxOf(const TNGThumbnailData& source) {
    return {source.nWidth, source.nHeight};
}

bool IsGood(const TNGThumbnailData& source) {
    return source.pImage && source.pImage->GetLastStatus() == Gdiplus::Ok;
}

bool HasBuffer(const TNGThumbnailData& source) {
    return source.pBuffer && source.nLength > 0;
}

bool ScaleToBox(TNGThumbnailData& source, bool bPng, bool* pbScaled = nullptr) {
    return ScaleImage(source.pImage, BoxOf(source), bPng, pbScaled) == TNG_PRODUCER_OK;
}

bool Compress(TNGThumbnailData& source, bool bPng) {
    return SaveImageToMemory(*source.pImage, bPng, source.pBuffer, &source.nLength);
}

// The source's image, scaled to the box, becomes its buffer.
bool CompressImage(TNGThumbnailData& source, bool bPng) {
    return IsGood(source) && ScaleToBox(source, bPng) && Compress(source, bPng);
}

// A box that a stored rendition fills exactly: what is stored cannot exceed it.
bool IsRenditionBox(const TNGSize& box) {
    const bool bSmall = box.nWidth <= TNG_SMALL_BOX.nWidth && box.nHeight <= TNG_SMALL_BOX.nHeight;
    const TNGSize& rendition = bSmall ? TNG_SMALL_BOX : TNG_LARGE_BOX;
    return box.nWidth == rendition.nWidth && box.nHeight == rendition.nHeight;
}

// A stored buffer may hold a rendition that is larger than the box; then it is made anew.
bool FitBufferIntoBox(TNGThumbnailData& source, bool bPng) {
    source.pImage = LoadImageFromMemory(source.pBuffer.get(), source.nLength);
    bool bScaled = false;
    if (!source.pImage || !ScaleToBox(source, bPng, &bScaled)) return false;
    return !bScaled || Compress(source, bPng);
}

bool ConvertThumbnailToImage(TNGThumbnailData& source, bool bPng, TNGThumbnailData* pResult) {
    if (!source.pImage && HasBuffer(source))
        source.pImage = LoadImageFromMemory(source.pBuffer.get(), source.nLength);
    if (!IsGood(source) || !ScaleToBox(source, bPng)) return false;
    pResult->nWidth = source.pImage->GetWidth();
    pResult->nHeight = source.pImage->GetHeight();
    pResult->pImage = std::move(source.pImage);
    return true;
}

bool ConvertThumbnailToCompressed(TNGThumbnailData& source, bool bPng, int eOrigin,
                                  TNGThumbnailData* pResult) {
    if (!source.pBuffer && source.pImage) {
        if (!CompressImage(source, bPng) || !HasBuffer(source)) return false;
    } else {
        if (!HasBuffer(source)) return false;
        // Default images come in one size alone.
        const bool bFits = IsRenditionBox(BoxOf(source)) &&
                           (eOrigin != ORIGIN_DEFAULT || source.nWidth == TNG_LARGE_BOX.nWidth);
        if (!bFits && !FitBufferIntoBox(source, bPng)) return false;
    }
    pResult->nWidth = static_cast<std::uint32_t>(source.nLength);
    pResult->nHeight = 0;
    pResult->pBuffer = std::move(source.pBuffer);
    return true;
}

bool ConvertThumbnailToARGB(TNGThumbnailData& source, bool bPng, TNGThumbnailData* pResult) {
    if (!source.pBuffer && source.pImage && !CompressImage(source, bPng)) return false;
    TNGSize size = BoxOf(source);
    pResult->pBuffer = CallIMLForSaveCompressBufferToARGB(source.pBuffer.get(), &source.nLength, &size);
    pResult->nWidth = size.nWidth;
    pResult->nHeight = size.nHeight;
    return pResult->pBuffer != nullptr;
}

}  // namespace

bool ConvertThumbnailIntoProperType(TNGThumbnailData source, std::uint32_t eOutputForm,
                                    std::uint32_t eAssetType, TNGThumbnailData* pResult,
                                    const std::u16string& path, int eOrigin) {
    TNG_LOG(TNG_LOG_ENTER, u"ConvertThumbnailIntoProperType");
    if (eOutputForm > TNG_OUTPUT_ARGB) return false;
    const bool bPng = IsFilePNG(path, eOrigin, eAssetType);
    bool bConverted = false;
    switch (eOutputForm) {
        case TNG_OUTPUT_IMAGE:
            bConverted = ConvertThumbnailToImage(source, bPng, pResult);
            break;
        case TNG_OUTPUT_COMPRESSED:
            bConverted = ConvertThumbnailToCompressed(source, bPng, eOrigin, pResult);
            break;
        default:
            bConverted = ConvertThumbnailToARGB(source, bPng, pResult);
            break;
    }
    TNG_LOG(TNG_LOG_LEAVE, u"ConvertThumbnailIntoProperType");
    return bConverted;
}

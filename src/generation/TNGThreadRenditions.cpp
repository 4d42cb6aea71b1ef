// From one decode of a file all renditions that the cache keeps, and the one that a request is for.

#include <memory>
#include <utility>

#include "TNGThread.h"
#include "common/TNGLog.h"
#include "common/TNGThreshold.h"
#include "database/TNGDBMgr.h"
#include "imaging/TNGDefaultImages.h"
#include "imaging/TNGImageLibrary.h"
#include "imaging/TNGImageScaling.h"
#include "imaging/TNGThumbnailProducer.h"

namespace {

constexpr char16_t s_szLogSource[] = u"TNGThread";

using ImagePtr = std::unique_ptr<Gdiplus::Image>;

// A rendition: the image, and the same compressed.
struct Rendition {
    ImagePtr pImage;
    TNGBuffer pBuffer;
    std::int32_t nLength = 0;

    bool ScaleTo(const TNGSize& box, bool bPng) {
        return ScaleImage(pImage, box, bPng, nullptr) == TNG_PRODUCER_OK;
    }
    bool Compress(bool bPng) { return SaveImageToMemory(*pImage, bPng, pBuffer, &nLength); }
    TNGThumbnailBytes Bytes() const { return {pBuffer.get(), nLength}; }
};

/// One file on its way through.
class RenditionMaker {
  public:
    RenditionMaker(CTNGThumbnailProducer& producer, const TNGRequest& request, std::uint32_t eAssetType,
                   TNGThumbnailData* pResult, int* pbDefault, int* peOrigin)
        : m_producer(producer),
          m_request(request),
          m_eAssetType(eAssetType),
          m_pResult(pResult),
          m_pbDefault(pbDefault),
          m_peOrigin(peOrigin) {}

    bool Run();

  private:
    bool Leave(bool bMade, const char16_t* pszMessage) const {
        TNG_LOG(TNG_LOG_LEAVE, pszMessage);
        return bMade;
    }
    bool Succeed() const { return Leave(true, u"GenerateAndAddThumbnailToCache Success ! "); }

    bool IsPictureOrVideo() const {
        return m_eAssetType == ASSET_TYPE_IMAGE || m_eAssetType == ASSET_TYPE_VIDEO;
    }
    bool NeedsRenditions() const;
    bool IsPng() const { return IsFilePNG(m_request.path, *m_peOrigin, m_eAssetType); }

    ImagePtr Produce(const TNGSize& box);
    void BecomeDefault();
    bool MakeForRequestAlone();
    ImagePtr LoadDefaultForRequest();

    void MakeLarge(Rendition& large);
    bool MakeRenditions();
    bool FinishRenditions(Rendition& large, bool bPng);
    void Store(const Rendition& extraLarge, const Rendition& large, const Rendition& small);
    bool HandOver(Rendition& large, Rendition& small);
    bool HandOver(ImagePtr pImage);

    CTNGThumbnailProducer& m_producer;
    const TNGRequest& m_request;
    const std::uint32_t m_eAssetType;
    TNGThumbnailData* m_pResult;
    int* m_pbDefault;
    int* m_peOrigin;

    TNGSize m_originalSize{0, 0};
    bool m_bHaveSize = false;
    bool m_bExtraLarge = false;
};

bool RenditionMaker::Run() {
    TNG_LOG(TNG_LOG_ENTER, u"GenerateAndAddThumbnailToCache");
    Platform::WaitUntilStampIsPast(m_request.entry.ftLastWriteTime);
    *m_pResult = TNGThumbnailData();
    m_pResult->nWidth = m_request.box.nWidth;
    m_pResult->nHeight = m_request.box.nHeight;
    if (IsPictureOrVideo()) {
        m_bHaveSize = m_producer.GetOriginalImageSize(&m_originalSize);
        if (!m_bHaveSize)
            TNG_LOG(TNG_LOG_INFO, u"GenerateAndAddThumbnailToCache GetOriginalImageSize failed");
    }
    return NeedsRenditions() ? MakeRenditions() : MakeForRequestAlone();
}

// A picture that is small anyway, or cannot be read, is not stored.
bool RenditionMaker::NeedsRenditions() const {
    return !IsSmallRequest(m_originalSize) || m_eAssetType == ASSET_TYPE_VIDEO ||
           GetDefaultSlot(m_eAssetType) != DEFAULT_SLOT_NONE;
}

ImagePtr RenditionMaker::Produce(const TNGSize& box) {
    m_producer.m_nMaxWidth = box.nWidth;
    m_producer.m_nMaxHeight = box.nHeight;
    return m_producer.GenerateThumbnailImage(m_originalSize, m_pbDefault, m_peOrigin);
}

void RenditionMaker::BecomeDefault() {
    *m_pbDefault = 1;
    *m_peOrigin = ORIGIN_DEFAULT;
}

bool RenditionMaker::HandOver(ImagePtr pImage) {
    m_pResult->pImage = std::move(pImage);
    return true;
}

bool RenditionMaker::MakeForRequestAlone() {
    ImagePtr pImage = m_bHaveSize ? Produce(m_request.box) : LoadDefaultForRequest();
    if (!pImage || pImage->GetLastStatus() != Gdiplus::Ok) return false;
    HandOver(std::move(pImage));
    return Succeed();
}

ImagePtr RenditionMaker::LoadDefaultForRequest() {
    BecomeDefault();
    std::int32_t nLength = 0;
    const TNGBuffer buffer = GetDefaultImageBuffer(m_eAssetType, &nLength);
    if (!buffer) return LoadDefaultThumbnail(m_eAssetType, m_request.box);
    ImagePtr pImage = LoadImageFromMemory(buffer.get(), nLength);
    if (pImage) ScaleImage(pImage, m_request.box, IsPng(), nullptr);
    return pImage;
}

// The image as it is decoded; or a default image, whose buffer then is the rendition.
void RenditionMaker::MakeLarge(Rendition& large) {
    m_bExtraLarge = m_bHaveSize && (m_eAssetType == ASSET_TYPE_VIDEO || IsLargeFile(m_request.entry));
    if (m_bHaveSize) {
        large.pImage = Produce(m_bExtraLarge ? TNG_EXTRA_LARGE_BOX : TNG_LARGE_BOX);
        return;
    }
    BecomeDefault();
    large.pBuffer = GetDefaultImageBuffer(m_eAssetType, &large.nLength);
    large.pImage = large.pBuffer ? LoadImageFromMemory(large.pBuffer.get(), large.nLength)
                                 : LoadDefaultThumbnail(m_eAssetType, TNG_LARGE_BOX);
}

bool RenditionMaker::MakeRenditions() {
    Rendition large;
    MakeLarge(large);
    if (!large.pImage) return Leave(false, u"GenerateAndAddThumbnailToCache condition pLargeImage == NULL");
    bool bPng = false;
    if (*m_pbDefault != 0) {
        const bool bPicture = m_eAssetType == ASSET_TYPE_IMAGE;
        if (*m_pbDefault != 1 || (bPicture && *m_peOrigin != ORIGIN_DEFAULT))
            return Leave(false, u"GenerateAndAddThumbnailToCache condition bTypeCheck == FALSE");
        if (bPicture) return HandOver(std::move(large.pImage));  // it could not be read, and gets no entry
        bPng = IsPng();
    }
    if (*m_peOrigin == ORIGIN_EMBEDDED) {
        ScaleImage(large.pImage, m_request.box, IsPng(), nullptr);
        HandOver(std::move(large.pImage));
        return Succeed();
    }
    return FinishRenditions(large, bPng);
}

bool RenditionMaker::FinishRenditions(Rendition& large, bool bPng) {
    constexpr const char16_t* kNotScaled =
        u"GenerateAndAddThumbnailToCache,ScaleImage failed for SmallImage! ";
    Rendition extraLarge;
    if (m_bExtraLarge) {
        const bool bSaved = SaveImageToMemory(*large.pImage, bPng, extraLarge.pBuffer, &extraLarge.nLength);
        if (!bSaved || !large.ScaleTo(TNG_LARGE_BOX, bPng)) return Leave(false, kNotScaled);
    }
    Rendition small;
    small.pImage.reset(large.pImage->Clone());
    if (!small.pImage) return Leave(false, u"GenerateAndAddThumbnailToCache condition pSmallImage == NULL");
    if (!small.ScaleTo(TNG_SMALL_BOX, bPng)) return Leave(false, kNotScaled);
    if (!large.pBuffer && (!large.Compress(bPng) || large.nLength < 1)) {
        return Leave(false,
                     u"GenerateAndAddThumbnailToCache condition !bCreateMem || lnLargeThumbnailBuffSize<1");
    }
    if (!small.Compress(bPng) || small.nLength < 1) {
        return Leave(false,
                     u"GenerateAndAddThumbnailToCache condition  !bCreateMem || lnSmallThumbnailBuffSize<1 ");
    }
    Store(extraLarge, large, small);
    return HandOver(large, small);
}

// A thumbnail that cannot be stored is still one for the caller.
void RenditionMaker::Store(const Rendition& extraLarge, const Rendition& large, const Rendition& small) {
    TNGThumbnailBytes smallBytes = small.Bytes();
    if (m_eAssetType == ASSET_TYPE_VIDEO && *m_peOrigin == ORIGIN_DEFAULT) smallBytes.nSize = -1;
    if (!IsUnchanged(m_request) ||
        s_pDBMgr->AddThumbnailToCache(m_producer, m_request.path, extraLarge.Bytes(), large.Bytes(),
                                      smallBytes, m_eAssetType, m_request.entry, false,
                                      &m_originalSize) != 0) {
        TNG_LOG(TNG_LOG_ERROR,
                u"GenerateAndAddThumbnailToCache condition  TNGDBMgr->AddThumbnailToCache failed ");
    }
}

bool RenditionMaker::HandOver(Rendition& large, Rendition& small) {
    const TNGSize& box = m_request.box;
    const bool bLarge = box.nWidth > TNG_SMALL_BOX.nWidth && box.nHeight > TNG_SMALL_BOX.nHeight;
    Rendition& kept = bLarge ? large : small;
    const bool bExceeds = kept.pImage->GetWidth() > box.nWidth || kept.pImage->GetHeight() > box.nHeight;
    if (m_request.eOutputForm == TNG_OUTPUT_IMAGE ||
        (m_request.eOutputForm == TNG_OUTPUT_COMPRESSED && bExceeds)) {
        HandOver(std::move(kept.pImage));
    } else {
        m_pResult->pBuffer = std::move(kept.pBuffer);
        m_pResult->nLength = kept.nLength;
    }
    return Succeed();
}

}  // namespace

bool CTNGThread::GenerateAndAddThumbnailToCache(CTNGThumbnailProducer& producer, const TNGRequest& request,
                                                std::uint32_t eAssetType, TNGThumbnailData* pResult,
                                                int* pbDefault, int* peOrigin) {
    return RenditionMaker(producer, request, eAssetType, pResult, pbDefault, peOrigin).Run();
}

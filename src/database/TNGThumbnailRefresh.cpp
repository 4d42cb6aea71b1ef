#include "TNGThumbnailRefresh.h"

#include <memory>

#include "TNGCompressed.h"
#include "common/TNGFileInfo.h"
#include "common/TNGThreshold.h"
#include "imaging/TNGImageScaling.h"
#include "store/TNGCachePaths.h"
#include "store/TNGThumbnailLocation.h"

namespace {

using ImagePtr = std::unique_ptr<Gdiplus::Image>;

std::uint32_t NoImage(CTNGFileData& record) {
    if (record.m_eFileType != ASSET_TYPE_VIDEO) return QXTNG_ERROR_FAILED;
    record.m_nOriginalWidth = record.m_nOriginalHeight = 0;
    SetThumbnailLocations(record, true, -1, false, -1, -1, -1);
    return QXTNG_SUCCESS;
}

bool KeepsExtraLarge(const CTNGFileData& record) {
    if (record.m_eFileType == ASSET_TYPE_VIDEO) return true;
    Platform::WIN32_FIND_DATAW entry;
    return CTNGFileInfo::FindFileData(record.m_strFilePath.c_str(), &entry, false) && IsLargeFile(entry);
}

bool IsFileAsRecorded(const CTNGFileData& record) {
    Platform::WIN32_FIND_DATAW entry;
    return CTNGFileInfo::FindFileData(record.m_strFilePath.c_str(), &entry, false) &&
           IsSameFile(record, entry);
}

ImagePtr MakeImage(const CTNGFileData& record, CTNGThumbnailProducer& producer, bool bExtraLarge,
                   TNGSize* pSize) {
    Platform::WaitUntilStampIsPast(record.m_ftLastWrite);
    producer.m_eSourceMode = TNG_SOURCE_DECODE_ONLY;
    producer.Reinitialize(record.m_strFilePath, record.m_eFileType);
    if (!producer.GetOriginalImageSize(pSize)) return nullptr;
    const TNGSize& box = bExtraLarge ? TNG_EXTRA_LARGE_BOX : TNG_LARGE_BOX;
    producer.m_nMaxWidth = box.nWidth;
    producer.m_nMaxHeight = box.nHeight;
    int bDefault = 1;
    int eOrigin = ORIGIN_DEFAULT;
    ImagePtr pImage = producer.GenerateThumbnailImage(*pSize, &bDefault, &eOrigin);
    return eOrigin == ORIGIN_DEFAULT ? nullptr : std::move(pImage);
}

// Compresses the renditions, each made from the one before it, and appends them as a block.
std::int32_t AppendRenditions(const CTNGFileData& record, std::uint32_t nDataFileKey, ImagePtr& pImage,
                              TNGCompressed& extraLarge, TNGCompressed& large, TNGCompressed& small,
                              bool bExtraLarge) {
    if (bExtraLarge &&
        (!extraLarge.Make(*pImage) || ScaleImage(pImage, TNG_LARGE_BOX, false, nullptr) != TNG_PRODUCER_OK)) {
        return -1;
    }
    if (!large.Make(*pImage)) return -1;
    ScaleImage(pImage, TNG_SMALL_BOX, false, nullptr);
    if (!small.Make(*pImage) || !IsFileAsRecorded(record)) return -1;
    return CTNGDataFile().AppendBlock(CachePath(record.m_strDataFileName), nDataFileKey, TNGBlockTrailer(),
                                      extraLarge.Bytes(), large.Bytes(), small.Bytes());
}

std::uint32_t Refresh(CTNGFileData& record, std::uint32_t nDataFileKey, CTNGThumbnailProducer& producer) {
    const bool bExtraLarge = KeepsExtraLarge(record);
    TNGSize originalSize{0, 0};
    ImagePtr pImage = MakeImage(record, producer, bExtraLarge, &originalSize);
    if (!pImage) return NoImage(record);
    TNGCompressed extraLarge;
    TNGCompressed large;
    TNGCompressed small;
    const std::int32_t offset =
        AppendRenditions(record, nDataFileKey, pImage, extraLarge, large, small, bExtraLarge);
    if (offset == -1) return QXTNG_ERROR_FAILED;
    SetThumbnailLocations(record, false, offset, bExtraLarge, extraLarge.nSize, large.nSize, small.nSize);
    record.m_nOriginalWidth = originalSize.nWidth;
    record.m_nOriginalHeight = originalSize.nHeight;
    return QXTNG_SUCCESS;
}

}  // namespace

std::uint32_t RefreshThumbnailData(CTNGFileData& record, std::uint32_t nDataFileKey,
                                   CTNGThumbnailProducer& producer) {
    try {
        return Refresh(record, nDataFileKey, producer);
    } catch (...) {
        return QXTNG_ERROR_FAILED;  // the next file may do with less memory
    }
}

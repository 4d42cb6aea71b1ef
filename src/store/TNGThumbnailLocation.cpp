#include "TNGThumbnailLocation.h"

#include "store/TNGBlockTrailer.h"

namespace {

// Sizes may come from a damaged file; their sum wraps around and then leads nowhere.
std::int32_t Sum(std::int32_t a, std::int32_t b) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(a) + static_cast<std::uint32_t>(b));
}

bool IsLargerThan(const TNGSize& size, const TNGSize& box) {
    return size.nWidth > box.nWidth && size.nHeight > box.nHeight;
}

}  // namespace

void SetThumbnailLocations(CTNGFileData& record, bool bNone, std::int32_t offset, bool bHasExtraLarge,
                           std::int32_t extraLargeSize, std::int32_t largeSize, std::int32_t smallSize) {
    if (bNone) {
        record.m_nExtraLargeOffset = record.m_nLargeOffset = record.m_nSmallOffset = -1;
        record.m_nExtraLargeSize = record.m_nLargeSize = record.m_nSmallSize = -1;
        return;
    }
    record.m_nExtraLargeSize = extraLargeSize;
    record.m_nLargeSize = largeSize;
    record.m_nSmallSize = smallSize;
    record.m_nExtraLargeOffset = bHasExtraLarge ? offset : -1;
    record.m_nLargeOffset = bHasExtraLarge ? Sum(offset, extraLargeSize) : offset;
    record.m_nSmallOffset = Sum(record.m_nLargeOffset, largeSize);
}

void GetThumbnailLocation(const CTNGFileData& record, const TNGSize& requested, std::int32_t* pOffset,
                          std::int32_t* pSize, std::int32_t* pTrailerOffset) {
    std::int32_t behind = record.m_nSmallSize;
    if (IsLargerThan(requested, TNG_LARGE_BOX)) {
        *pOffset = record.m_nExtraLargeOffset;
        *pSize = record.m_nExtraLargeSize;
        behind = Sum(Sum(record.m_nExtraLargeSize, record.m_nLargeSize), behind);
    } else if (IsLargerThan(requested, TNG_SMALL_BOX)) {
        *pOffset = record.m_nLargeOffset;
        *pSize = record.m_nLargeSize;
        behind = Sum(record.m_nLargeSize, behind);
    } else {
        *pOffset = record.m_nSmallOffset;
        *pSize = record.m_nSmallSize;
    }
    *pTrailerOffset = Sum(*pOffset, behind);
}

bool HasBlock(const CTNGFileData& record) {
    const bool bPicture = record.m_eFileType == ASSET_TYPE_IMAGE || record.m_eFileType == ASSET_TYPE_VIDEO;
    const bool bNone = record.m_nSmallOffset == -1 && record.m_nLargeOffset == -1;
    return bPicture && record.m_bDeleted == 0 && !HasNoThumbnail(record) && !bNone;
}

std::int64_t EndOfBlock(const CTNGFileData& record) {
    if (!HasBlock(record) || record.m_nSmallOffset < 0 || record.m_nSmallSize < 0) return 0;
    return std::int64_t{record.m_nSmallOffset} + record.m_nSmallSize + std::int64_t{sizeof(TNGBlockTrailer)};
}

bool HasNoThumbnail(const CTNGFileData& record) {
    return record.m_eFileType == ASSET_TYPE_VIDEO && record.m_nSmallOffset == -1 && record.m_nSmallSize == -1;
}

bool HasExtraLarge(const CTNGFileData& record) {
    return record.m_nExtraLargeOffset >= 0 && record.m_nExtraLargeSize > 0;
}

bool IsSameFile(const CTNGFileData& record, const Platform::WIN32_FIND_DATAW& fileInfo) {
    return Platform::CompareFileTime(&fileInfo.ftLastWriteTime, &record.m_ftLastWrite) == 0 &&
           fileInfo.nFileSizeLow == record.m_nFileSize;
}

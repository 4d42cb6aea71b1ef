#pragma once

#include "database/TNGAddition.h"
#include "store/StoreFixture.h"
#include "store/TNGCachePaths.h"

namespace StoreTest {

inline constexpr std::int32_t kSmall = 20;

/// Brings an addition that has begun to its end, as the thumbnail of a picture. Its small one are its first
/// bytes.
inline bool FinishAddition(CTNGAddition& addition, const Bytes& thumbnail, std::uint32_t nOriginalWidth = 0) {
    CTNGFileData& record = addition.Record();
    const auto nLarge = static_cast<std::int32_t>(thumbnail.size());
    const std::int32_t offset =
        CTNGDataFile().AppendBlock(CachePath(record.m_strDataFileName), addition.DataFileKey(), {}, {},
                                   {thumbnail.data(), nLarge}, {thumbnail.data(), kSmall});
    if (offset < 0) {
        addition.TakeBack();
        return false;
    }
    record.m_eFileType = ASSET_TYPE_IMAGE;
    record.m_bDeleted = 0;
    record.m_nOriginalWidth = nOriginalWidth;
    SetThumbnailLocations(record, false, offset, false, 0, nLarge, kSmall);
    bool bFlushed = false;
    const bool bPublished = addition.Publish() == CTNGAddition::Outcome::Published;
    const bool bDone = bPublished && addition.FlushIfDue(&bFlushed);
    addition.End();
    return bDone;
}

}  // namespace StoreTest

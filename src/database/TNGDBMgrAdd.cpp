// Putting thumbnails into the cache.

#include <optional>

#include "TNGAddition.h"
#include "TNGCompressed.h"
#include "TNGDBMgr.h"
#include "common/TNGLog.h"
#include "common/TNGThreshold.h"
#include "imaging/TNGDefaultImages.h"
#include "imaging/TNGImageLibrary.h"
#include "imaging/TNGImageScaling.h"
#include "imaging/TNGThumbnailProducer.h"
#include "store/TNGCachePaths.h"
#include "store/TNGThumbnailLocation.h"

namespace {

constexpr char16_t s_szLogSource[] = u"TNGDBMgr";

constexpr int kDone = 0;
constexpr int kFailed = 1;

bool IsPictureOrVideo(std::uint32_t eFileType) {
    return eFileType == ASSET_TYPE_IMAGE || eFileType == ASSET_TYPE_VIDEO;
}

const char16_t* SlotFailure(std::uint32_t eFileType) {
    switch (GetDefaultSlot(eFileType)) {
        case DEFAULT_SLOT_AUDIO:
            return u"CTNGDBMgr::AddThumbnailToCache:HeapAlloc for audio image buffer failed";
        case DEFAULT_SLOT_VIDEO:
            return u"CTNGDBMgr::AddThumbnailToCache:HeapAlloc for video image buffer failed";
        default:
            return u"CTNGDBMgr::AddThumbnailToCache:HeapAlloc for still image buffer failed";
    }
}

}  // namespace

/// What an addition is about, beside its path.
struct CTNGDBMgr::NewThumbnail {
    CTNGThumbnailProducer& producer;
    const std::u16string& path;
    const TNGThumbnailBytes& extraLarge;
    TNGThumbnailBytes large;
    const TNGThumbnailBytes& small;
    std::uint32_t eFileType;
    const Platform::WIN32_FIND_DATAW& fileInfo;
    bool bEmbedded;
    const TNGSize* pOriginalSize;

    // A video whose buffers hold a default image.
    bool HasNone() const { return eFileType == ASSET_TYPE_VIDEO && small.nSize == -1; }
};

int CTNGDBMgr::AddThumbnailToCache(CTNGThumbnailProducer& producer, const std::u16string& path,
                                   const TNGThumbnailBytes& extraLarge, const TNGThumbnailBytes& large,
                                   const TNGThumbnailBytes& small, std::uint32_t eFileType,
                                   const Platform::WIN32_FIND_DATAW& fileInfo, bool bEmbedded,
                                   const TNGSize* pOriginalSize) {
    TNG_LOG(TNG_LOG_ENTER, u"CTNGDBMgr::AddThumbailToCache");
    TNG_LOG(TNG_LOG_INFO, path.c_str());
    std::optional<CTNGAddition> addition;
    try {
        addition.emplace(*m_pSharedData, m_eDBState, path);
        if (!addition->HasLock()) {
            TNG_LOG(TNG_LOG_INFO, u"CTNGDBMgr::AddThumbailToCache: Shared Mutex Lock failed");
            return kFailed;
        }
        NewThumbnail thumbnail{producer,  path,     extraLarge, large,        small,
                               eFileType, fileInfo, bEmbedded,  pOriginalSize};
        return Add(*addition, thumbnail);
    } catch (...) {
        if (addition) addition->TakeBack();
        TNG_LOG(TNG_LOG_EXCEPTION, u"CTNGDBMgr::AddThumbailToCache");
        return kFailed;
    }
}

int CTNGDBMgr::Add(CTNGAddition& addition, NewThumbnail& thumbnail) {
    if (!addition.Begin()) return kFailed;
    if (addition.IsFirstOfFolder())
        TNG_LOG(TNG_LOG_INFO, u"CTNGDBMgr::AddThumbailToCache: New foldermap added");
    std::int32_t offset = -1;
    if (!StoreBytes(addition, thumbnail, &offset)) return kFailed;

    CTNGFileData& record = addition.Record();
    record.m_strFilePath = thumbnail.path;
    record.m_eFileType = thumbnail.eFileType;
    const bool bHasExtraLarge = thumbnail.eFileType == ASSET_TYPE_VIDEO || IsLargeFile(thumbnail.fileInfo);
    SetThumbnailLocations(record, thumbnail.HasNone(), offset, bHasExtraLarge, thumbnail.extraLarge.nSize,
                          thumbnail.large.nSize, thumbnail.small.nSize);
    record.m_bDeleted = 0;
    record.m_bAudio = thumbnail.eFileType == ASSET_TYPE_AUDIO ? 1 : 0;
    record.m_bEmbedded = thumbnail.bEmbedded ? 1 : 0;
    TNGSize size{0, 0};
    if (IsPictureOrVideo(thumbnail.eFileType)) {
        if (thumbnail.pOriginalSize) {
            size = *thumbnail.pOriginalSize;
        } else if (!thumbnail.producer.GetOriginalImageSize(&size)) {
            addition.TakeBack();
            TNG_LOG(TNG_LOG_INFO, u"CTNGDBMgr::AddThumbailToCache: GetOriginalImageSize failed");
            return kFailed;
        }
    }
    record.m_nOriginalWidth = size.nWidth;
    record.m_nOriginalHeight = size.nHeight;
    record.m_ftLastWrite = thumbnail.fileInfo.ftLastWriteTime;
    record.m_nFileSize = thumbnail.fileInfo.nFileSizeLow;
    PublishThumbnail(addition);
    TNG_LOG(TNG_LOG_LEAVE, u"CTNGDBMgr::AddThumbailToCache");
    return kDone;
}

// The bytes go to the end of the data file, or into the slot of their default image.
bool CTNGDBMgr::StoreBytes(CTNGAddition& addition, NewThumbnail& thumbnail, std::int32_t* pOffset) {
    const bool bPicture = IsPictureOrVideo(thumbnail.eFileType);
    if (bPicture) TNG_LOG(TNG_LOG_INFO, u"CTNGDBMgr::AddThumbailToCache: saving image file");
    if (!bPicture || thumbnail.HasNone()) {
        if (!StoreDefaultImage(thumbnail.eFileType, thumbnail.large.pBytes, thumbnail.large.nSize)) {
            TNG_LOG(TNG_LOG_ERROR, SlotFailure(thumbnail.eFileType));
            return false;
        }
        if (thumbnail.HasNone()) thumbnail.large.nSize = -1;
        return true;
    }
    const TNGBlockTrailer trailer;
    *pOffset =
        CTNGDataFile().AppendBlock(CachePath(addition.Record().m_strDataFileName), addition.DataFileKey(),
                                   trailer, thumbnail.extraLarge, thumbnail.large, thumbnail.small);
    if (*pOffset != -1) return true;
    addition.TakeBack();
    TNG_LOG(TNG_LOG_INFO, u"CTNGDBMgr::AddThumbailToCache: failed to write Thumbnails on DB file");
    return false;
}

void CTNGDBMgr::PublishThumbnail(CTNGAddition& addition) {
    const CTNGAddition::Outcome outcome = addition.Publish();
    if (outcome == CTNGAddition::Outcome::NoLock)
        TNG_LOG(TNG_LOG_INFO, u"CTNGDBMgr::AddThumbailToCache: GetLocked failed on SharedMutex");
    bool bFlushed = false;
    if (outcome == CTNGAddition::Outcome::Published && !addition.FlushIfDue(&bFlushed))
        TNG_LOG(TNG_LOG_INFO, u"CTNGDBMgr::AddThumbailToCache: failed on appending new Thumbnails");
    if (bFlushed) TNG_LOG(TNG_LOG_INFO, u"CTNGDBMgr::AddThumbailToCache: New Thumbnails appended");
    addition.End();
}

int CTNGDBMgr::AddThumbnailFromImage(CTNGThumbnailProducer& producer, const std::u16string& path,
                                     Gdiplus::Image& image, std::uint32_t eFileType,
                                     const Platform::WIN32_FIND_DATAW& fileInfo, int eOrigin,
                                     const TNGSize* pOriginalSize) {
    TNGCompressed extraLarge;
    TNGCompressed large;
    TNGCompressed small;
    const bool bDefault = eOrigin == ORIGIN_DEFAULT;
    const bool bKeepsExtraLarge = eFileType == ASSET_TYPE_VIDEO || IsLargeFile(fileInfo);
    if (!bDefault || !IsDefaultImageCached(eFileType)) {
        if (!bDefault && bKeepsExtraLarge && !extraLarge.Make(image)) return kFailed;
        std::unique_ptr<Gdiplus::Image> pScaled(image.Clone());
        if (!pScaled || ScaleImage(pScaled, TNG_LARGE_BOX, false, nullptr) != TNG_PRODUCER_OK) return kFailed;
        if (!large.Make(*pScaled)) return kFailed;
        if (!bDefault) {
            if (ScaleImage(pScaled, TNG_SMALL_BOX, false, nullptr) != TNG_PRODUCER_OK) return kFailed;
            if (!small.Make(*pScaled)) return kFailed;
        }
    }
    if (bDefault && eFileType == ASSET_TYPE_VIDEO) small.nSize = -1;
    return AddThumbnailToCache(producer, path, extraLarge.Bytes(), large.Bytes(), small.Bytes(), eFileType,
                               fileInfo, eOrigin == ORIGIN_EMBEDDED, pOriginalSize);
}

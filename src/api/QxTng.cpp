#include "QxTng.h"

#include "TNGCalls.h"
#include "TNGMgr.h"
#include "common/TNGLog.h"

namespace {

constexpr char16_t s_szLogSource[] = u"QxTng";

// The frame of an export: log lines around one operation of the manager, and no exception beyond it.
template <typename Operation>
std::uint32_t Frame(const char16_t* pszExport, Operation operation) {
    const TNGCall call;
    if (!call.IsAdmitted()) return QXTNG_ERROR_FAILED;
    try {
        TNG_LOG(TNG_LOG_ENTER, pszExport);
        const std::uint32_t result = operation(CTNGMgr::GetInstance());
        TNG_LOG(TNG_LOG_LEAVE, pszExport);
        return result;
    } catch (...) {
        TNG_LOG(TNG_LOG_EXCEPTION, pszExport);
        TNG_LOG(TNG_LOG_LEAVE, pszExport);
        return QXTNG_ERROR_FAILED;
    }
}

template <typename T>
void SetIfGiven(T* pOut, T value) {
    if (pOut) *pOut = value;
}

}  // namespace

std::uint32_t QXGenerateThumbnailImageInForeGround(const char16_t* pszFilePath, TNGSize size, int eSourceMode,
                                                   Gdiplus::Image** ppImage, int* peOrigin, int* pbDefault) {
    SetIfGiven(pbDefault, 1);
    SetIfGiven<Gdiplus::Image*>(ppImage, nullptr);
    if (!pszFilePath || !ppImage || !peOrigin || !pbDefault) return QXTNG_ERROR_INVALID_ARGUMENT;
    return Frame(u"QXGenerateThumbnailImageInForeGround", [=](CTNGMgr& manager) {
        TNGSize resultSize{0, 0};
        return manager.GenerateThumbnailInForeGround(pszFilePath, size, eSourceMode, ppImage, nullptr,
                                                     &resultSize, TNG_OUTPUT_IMAGE, peOrigin, pbDefault);
    });
}

std::uint32_t QXGenerateThumbnailCompressedBufferInForeGround(const char16_t* pszFilePath, TNGSize size,
                                                              int eSourceMode, unsigned char** ppBuffer,
                                                              long* pnLength, int* peOrigin, int* pbDefault) {
    SetIfGiven(pbDefault, 1);
    SetIfGiven<unsigned char*>(ppBuffer, nullptr);
    SetIfGiven(pnLength, 0L);
    if (!pszFilePath || !ppBuffer || !pnLength || !peOrigin || !pbDefault)
        return QXTNG_ERROR_INVALID_ARGUMENT;
    return Frame(u"QXGenerateThumbnailCompressedBufferInForeGround", [=](CTNGMgr& manager) {
        TNGSize resultSize{0, 0};
        const std::uint32_t result =
            manager.GenerateThumbnailInForeGround(pszFilePath, size, eSourceMode, nullptr, ppBuffer,
                                                  &resultSize, TNG_OUTPUT_COMPRESSED, peOrigin, pbDefault);
        *pnLength = static_cast<long>(resultSize.nWidth);
        return result;
    });
}

std::uint32_t QXGenerateThumbnailARBGInForeGround(const char16_t* pszFilePath, TNGSize size, int eSourceMode,
                                                  unsigned char** ppBuffer, TNGSize* pSizeOut, int* peOrigin,
                                                  int* pbDefault) {
    SetIfGiven(pbDefault, 1);
    SetIfGiven<unsigned char*>(ppBuffer, nullptr);
    SetIfGiven(pSizeOut, TNGSize{0, 0});
    if (!pszFilePath || !ppBuffer || !pSizeOut || !peOrigin || !pbDefault)
        return QXTNG_ERROR_INVALID_ARGUMENT;
    return Frame(u"QXGenerateThumbnailARBGInForeGround", [=](CTNGMgr& manager) {
        return manager.GenerateThumbnailInForeGround(pszFilePath, size, eSourceMode, nullptr, ppBuffer,
                                                     pSizeOut, TNG_OUTPUT_ARGB, peOrigin, pbDefault);
    });
}

std::uint32_t QXGenerateThumbnailInBackGround(const char16_t* pszFilePath, TNGSize size, int eSourceMode,
                                              int eOutputForm, TNGThumbnailCallback pfnCallback,
                                              TNGBackgroundContext* pContext, unsigned* pnThreadId) {
    if (!pszFilePath || !pContext || !pnThreadId) return QXTNG_ERROR_INVALID_ARGUMENT;
    return Frame(u"QXGenerateThumbnailInBackGround", [=](CTNGMgr& manager) {
        return manager.GenerateThumbnailInBackGround(pszFilePath, size, eSourceMode,
                                                     static_cast<std::uint32_t>(eOutputForm), pfnCallback,
                                                     pContext, pnThreadId);
    });
}

std::uint32_t QXStopBackGroundThread(unsigned nThreadId) {
    return Frame(u"QXStopBackGroundThread",
                 [=](CTNGMgr& manager) { return manager.QXStopBackGroundThread(nThreadId); });
}

std::uint32_t IsBackGroundThreadActive(unsigned nThreadId, int* pbActive) {
    return Frame(u"IsBackGroundThreadActive",
                 [=](CTNGMgr& manager) { return manager.IsBackGroundThreadActive(nThreadId, pbActive); });
}

std::uint32_t GetCacheEnabled(int* pbEnabled) {
    if (!pbEnabled) return QXTNG_ERROR_INVALID_ARGUMENT;
    return Frame(u"GetCacheEnabled", [=](CTNGMgr& manager) { return manager.GetCacheEnabled(pbEnabled); });
}

std::uint32_t SetCacheEnabled(int bEnabled) {
    return Frame(u"SetCacheEnabled",
                 [=](CTNGMgr& manager) { return manager.SetCacheEnabled(bEnabled != 0); });
}

std::uint32_t GetCacheFolder(char16_t** ppszFolder) {
    if (!ppszFolder) return QXTNG_ERROR_INVALID_ARGUMENT;
    return Frame(u"GetCacheFolder", [=](CTNGMgr& manager) { return manager.GetCacheFolder(ppszFolder); });
}

std::uint32_t SetCacheFolder(const char16_t* pszFolder) {
    if (!pszFolder) return QXTNG_ERROR_INVALID_ARGUMENT;
    return Frame(u"SetCacheFolder", [=](CTNGMgr& manager) { return manager.SetCacheFolder(pszFolder); });
}

std::uint32_t GetThresholdFileSize(unsigned* pnMegabytes) {
    return Frame(u"GetThresholdFileSize",
                 [=](CTNGMgr& manager) { return manager.GetThresholdFileSize(pnMegabytes); });
}

std::uint32_t SetThresholdFileSize(unsigned nMegabytes) {
    return Frame(u"SetThresholdFileSize",
                 [=](CTNGMgr& manager) { return manager.SetThresholdFileSize(nMegabytes); });
}

std::uint32_t InitDB() {
    return Frame(u"InitDB", [](CTNGMgr& manager) { return manager.InitDB(); });
}

std::uint32_t InitDBFolder(const char16_t* pszFolder) {
    return Frame(u"InitDBFolder", [=](CTNGMgr& manager) { return manager.InitDBFolder(pszFolder, false); });
}

std::uint32_t RefreshDBInSysFileCache() {
    return Frame(u"RefreshDBInSysFileCache",
                 [](CTNGMgr& manager) { return manager.RefreshDBInSysFileCache(); });
}

std::uint32_t LockCache() {
    return Frame(u"LockCache", [](CTNGMgr& manager) { return manager.LockCache(); });
}

std::uint32_t ReleaseCacheLock() {
    return Frame(u"ReleaseCacheLock", [](CTNGMgr& manager) { return manager.ReleaseCacheLock(); });
}

// Writes no lines of its own.
std::uint32_t ShutDown() {
    const TNGCall call;
    if (!call.IsAdmitted()) return QXTNG_ERROR_FAILED;
    try {
        return CTNGMgr::GetInstance().ShutDown();
    } catch (...) {
        return QXTNG_ERROR_FAILED;
    }
}

std::uint32_t IsFileCached(const char16_t* pszFilePath, int* pbCached) {
    return Frame(u"IsFileCached",
                 [=](CTNGMgr& manager) { return manager.IsFileCached(pszFilePath, pbCached); });
}

std::uint32_t DeleteThumbnail(const char16_t* pszFilePath) {
    return Frame(u"DeleteThumbnail", [=](CTNGMgr& manager) { return manager.DeleteThumbnail(pszFilePath); });
}

std::uint32_t DeleteFolder(const char16_t* pszFolder) {
    return Frame(u"DeleteFolder", [=](CTNGMgr& manager) { return manager.DeleteFolder(pszFolder); });
}

std::uint32_t IsCachedThumbnailUpToDate(const char16_t* pszFilePath, int* pbUpToDate) {
    return Frame(u"IsCachedThumbnailUpToDate", [=](CTNGMgr& manager) {
        return manager.IsCachedThumbnailUpToDate(pszFilePath, pbUpToDate);
    });
}

std::uint32_t GetSizeOriginal(const char16_t* pszFilePath, TNGSize* pSize) {
    return Frame(u"GetSizeOriginal",
                 [=](CTNGMgr& manager) { return manager.GetSizeOriginal(pszFilePath, pSize); });
}

std::uint32_t UpdateFileInfo(const char16_t* pszFilePath) {
    return Frame(u"UpdateFileInfo", [=](CTNGMgr& manager) { return manager.UpdateFileInfo(pszFilePath); });
}

std::uint32_t UpdateThumbnail(const char16_t* pszFilePath) {
    return Frame(u"UpdateThumbnail", [=](CTNGMgr& manager) { return manager.UpdateThumbnail(pszFilePath); });
}

std::uint32_t UpdateFolder(const char16_t* pszFolder) {
    return Frame(u"UpdateFolder", [=](CTNGMgr& manager) { return manager.UpdateFolder(pszFolder); });
}

std::uint32_t UpdateAllOfCache() {
    return Frame(u"UpdateAllOfCache", [](CTNGMgr& manager) { return manager.UpdateAllOfCache(); });
}

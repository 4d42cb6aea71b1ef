#pragma once

#include <cstdint>
#include <memory>

#include "common/TNGCollectionBase2.h"
#include "common/TNGGuard.h"
#include "common/TNGTypes.h"
#include "database/TNGDBMgr.h"
#include "generation/TNGThread.h"
#include "generation/TNGWorker.h"

/// The one object behind the exports: refuses what the cache must never see, and hands on the rest. Its
/// table is the registry of background threads, by the system's thread id. The operations answer as the
/// exports of the same names in QxTng.h do.
class CTNGMgr : public CTNGCollectionBase2<unsigned int, CTNGThread> {
  public:
    /// The one object; made by the first call.
    static CTNGMgr& GetInstance();

    /// Destroys it, if there is one. No other call may be under way.
    static void Destroy();

    /// Null if there is none.
    static CTNGMgr* FindInstance();

    /// `ppImage` or `ppBuffer` may be null, as the form asks. `*pSizeOut` receives the size, or the length in
    /// bytes and 0.
    std::uint32_t GenerateThumbnailInForeGround(const char16_t* pszFilePath, const TNGSize& size,
                                                int eSourceMode, Gdiplus::Image** ppImage,
                                                std::uint8_t** ppBuffer, TNGSize* pSizeOut,
                                                std::uint32_t eOutputForm, int* peOrigin, int* pbDefault);
    std::uint32_t GenerateThumbnailInBackGround(const char16_t* pszFilePath, const TNGSize& size,
                                                int eSourceMode, std::uint32_t eOutputForm,
                                                TNGThumbnailCallback pfnCallback,
                                                TNGBackgroundContext* pContext, unsigned* pnThreadId);
    std::uint32_t QXStopBackGroundThread(unsigned nThreadId);
    std::uint32_t IsBackGroundThreadActive(unsigned nThreadId, int* pbActive);

    std::uint32_t GetCacheEnabled(int* pbEnabled);
    std::uint32_t SetCacheEnabled(bool bEnabled);
    std::uint32_t GetCacheFolder(char16_t** ppszFolder);
    std::uint32_t SetCacheFolder(const char16_t* pszFolder);
    std::uint32_t SetThresholdFileSize(unsigned nMegabytes);
    std::uint32_t GetThresholdFileSize(unsigned* pnMegabytes);

    std::uint32_t InitDB();
    std::uint32_t InitDBFolder(const char16_t* pszFolder, bool bPathIsFile);
    std::uint32_t RefreshDBInSysFileCache();
    std::uint32_t LockCache();
    std::uint32_t ReleaseCacheLock();
    std::uint32_t ShutDown();

    /// Stops all background threads. None can be made meanwhile.
    void StopThreads();

    /// The same, for good.
    void EndThreads();

    std::uint32_t IsFileCached(const char16_t* pszFilePath, int* pbCached);
    std::uint32_t IsCachedThumbnailUpToDate(const char16_t* pszFilePath, int* pbUpToDate);
    std::uint32_t DeleteThumbnail(const char16_t* pszFilePath);
    std::uint32_t DeleteFolder(const char16_t* pszFolder);
    std::uint32_t GetSizeOriginal(const char16_t* pszFilePath, TNGSize* pSize);
    std::uint32_t UpdateFileInfo(const char16_t* pszFilePath);
    std::uint32_t UpdateThumbnail(const char16_t* pszFilePath);
    std::uint32_t UpdateFolder(const char16_t* pszFolder);
    std::uint32_t UpdateAllOfCache();

    ~CTNGMgr() override;

  private:
    CTNGMgr();

    std::uint32_t CreateThreadObject(const TNGBackgroundRequest& request, unsigned* pnThreadId);
    std::unique_ptr<CTNGThread> TakeThread(unsigned nThreadId);
    std::unique_ptr<CTNGThread> TakeIfEnded(unsigned nThreadId);

    TNGGuard m_registryGuard;                          // of the table, and of what follows
    int m_nStops TNG_GUARDED_BY(m_registryGuard) = 0;  // under way
    std::unique_ptr<CTNGDBMgr> m_pDBMgr;
};

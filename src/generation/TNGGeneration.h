#pragma once

#include <atomic>
#include <memory>
#include <optional>

#include "TNGRequest.h"
#include "TNGThumbnailData.h"
#include "imaging/TNGThumbnailProducer.h"

/// What a flow writes to the log under its own name; null for what it passes over.
struct TNGGenerationTexts {
    const char16_t* pszEntry;               // operation that enters the cache
    const char16_t* pszConversion;          // around each conversion
    const char16_t* pszNoLibrary;           // the image library cannot be bound
    const char16_t* pszNoProducer;          // the producer cannot work
    const char16_t* pszCachedNotConverted;  // the thumbnail from the cache is of no use
    const char16_t* pszStoredNotConverted;  // a thumbnail that was made for the cache
    const char16_t* pszDirectNotConverted;  // one that was made for the request alone
};

/// One request on its way, in the foreground or on a worker: from the cache, or from the file and then to the
/// cache. Small requests are answered from the cache whenever that is possible, and on a miss everything is
/// made, stored and answered under one hold. Any other request goes to the file, unless it is a video or a
/// large file, and feeds the cache afterwards.
class TNGGeneration {
  public:
    enum class End {
        Made,
        NotMade,       // the file yields nothing
        NotConverted,  // not in the asked form
        NoLibrary,     // nothing can be decoded
        CacheLocked,   // the cache cannot be entered
        Stopped,       // nobody wants it any more
    };

    /// `producer` is made by the first request that needs one, and serves the next ones. `pbStop` may be
    /// null, else it is looked at between the long steps.
    TNGGeneration(const TNGRequest& request, const TNGGenerationTexts& texts,
                  std::optional<CTNGThumbnailProducer>& producer, const std::atomic<bool>* pbStop);

    End Run();

    /// What was made, in the asked form.
    TNGThumbnailData& Result() { return m_result; }

    std::uint32_t m_eAssetType = ASSET_TYPE_UNKNOWN;
    static constexpr int kNoOrigin = -1;  // nothing has been made or found
    int m_eOrigin = kNoOrigin;
    int m_bDefault = 1;

  private:
    End RunThroughCache();
    bool ReadFromCache(TNGThumbnailData* pSource);
    End GenerateForCache();

    End RunDirectly(bool bCacheOn);
    End MakeAndFeed();
    bool IsKept() const;
    void Produce();
    bool IsFoodForCache() const;
    bool IsTooSmallToKeep() const;
    End Feed();

    bool PrepareProducer();
    bool Convert(TNGThumbnailData source);
    End Fail(End end, const char16_t* pszText);
    bool IsStopped() const { return m_pbStop && *m_pbStop; }
    TNGThumbnailData SourceOf(std::unique_ptr<Gdiplus::Image> pImage) const;

    const TNGRequest& m_request;
    const TNGGenerationTexts& m_texts;
    std::optional<CTNGThumbnailProducer>& m_producer;
    const std::atomic<bool>* m_pbStop;
    const bool m_bPng;
    TNGThumbnailData m_result;
    std::unique_ptr<Gdiplus::Image> m_pImage;  // in work
    TNGSize m_originalSize{0, 0};
};

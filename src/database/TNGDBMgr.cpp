#include "TNGDBMgr.h"

#include "imaging/TNGDefaultImages.h"
#include "store/TNGCachePaths.h"

std::atomic<bool> s_bCacheDirty{true};
std::atomic<bool> s_bCacheNeedsSync{true};
CTNGDBMgr* s_pDBMgr = nullptr;

CTNGDBMgr::CTNGDBMgr() : m_pSharedData(std::make_unique<CTNGSharedDataMgr>(s_strDirectoryMapName)) {
    for (char16_t* pszPath : {s_szAudioImagePath, s_szVideoImagePath, s_szOtherImagePath})
        GetDefaultImagePath(TNG_DEFAULT_IMAGE_NAME, pszPath);
    MakeDefaultImageTable();
    PrepareDateTimeFile();
}

CTNGDBMgr::~CTNGDBMgr() {
    ReleaseDefaultImageTable();
}

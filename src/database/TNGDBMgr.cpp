#include "TNGDBMgr.h"

#include <algorithm>
#include <memory>

#include "cutil/Folders.h"
#include "imaging/TNGDefaultImages.h"
#include "store/TNGCachePaths.h"

std::atomic<bool> s_bCacheDirty{true};
std::atomic<bool> s_bCacheNeedsSync{true};
std::atomic<std::int32_t> s_nPendingAdds{0};

namespace {

// A path that the utility library allocated.
using UtilityPath = std::unique_ptr<char16_t, decltype(&QxzCUtil::QXDealloc)>;

void CopyPath(const std::u16string& path, char16_t* pszPath) {
    const std::size_t units = std::min(path.size(), TNG_DEFAULT_PATH_UNITS - 1);
    std::copy_n(path.begin(), units, pszPath);
    pszPath[units] = 0;
}

}  // namespace

CTNGDBMgr::CTNGDBMgr() : m_pSharedData(std::make_unique<CTNGSharedDataMgr>(s_strDirectoryMapName)) {
    for (char16_t* pszPath : {s_szAudioImagePath, s_szVideoImagePath, s_szOtherImagePath})
        GetDefaultImagePath(TNG_DEFAULT_IMAGE_NAME, pszPath);
    MakeDefaultImageTable();
    PrepareDateTimeFile();
}

CTNGDBMgr::~CTNGDBMgr() {
    ReleaseDefaultImageTable();
}

// In the shared graphics folder, or else in Resources beneath the library's own folder. Whether a file is
// there shows when it is loaded.
void CTNGDBMgr::GetDefaultImagePath(const char16_t* pszFileName, char16_t* pszPath) {
    char16_t* pFound = nullptr;
    const int result = QxzCUtil::LocateFile(u"CommonGraphicsDir", pszFileName, &pFound);
    const UtilityPath located(pFound, &QxzCUtil::QXDealloc);
    if (result == QxzCUtil::kFileFound && located) return CopyPath(located.get(), pszPath);

    pFound = nullptr;
    QxzCUtil::RetrievePath(u"MyBinDir", &pFound, 0);
    const UtilityPath ownFolder(pFound, &QxzCUtil::QXDealloc);
    const std::u16string folder = ownFolder ? ownFolder.get() : u"";
    CopyPath(folder + u"/Resources" + pszFileName, pszPath);
}

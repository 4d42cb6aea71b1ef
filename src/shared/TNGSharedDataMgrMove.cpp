#include "TNGSharedDataMgr.h"
#include "common/TNGFileInfo.h"
#include "common/TNGLog.h"
#include "locks/TNGLockHold.h"
#include "platform/FileOperations.h"
#include "store/TNGCacheFiles.h"
#include "store/TNGCachePaths.h"

namespace {

constexpr char16_t s_szLogSource[] = u"TNGSharedDataMgr";

std::u16string PathIn(const std::u16string& folder, const std::u16string& name) {
    std::u16string path;
    CTNGFileInfo::BuildFilePath(path, folder, name);
    return path;
}

bool Exists(const std::u16string& path) {
    return CTNGFileInfo::FindFileData(path.c_str(), nullptr, true);
}

void DeleteFiles(const CTNGFolderMap& folderMap, const std::u16string& folder) {
    DeleteCacheFile(PathIn(folder, folderMap.m_strListFileName), folderMap.m_nListFileKey, true,
                    TNG_LOCK_TIMEOUT_MS);
    DeleteCacheFile(PathIn(folder, folderMap.m_strDataFileName), folderMap.m_nDataFileKey, false,
                    TNG_LOCK_TIMEOUT_MS);
}

}  // namespace

std::uint32_t CTNGSharedDataMgr::UpdateCacheFolder(const std::u16string& newFolder) {
    const std::shared_ptr<CTNGMutex> pMutex = GetFolderMapMutex();
    if (!pMutex) return 1;
    const TNGLockHold folderMaps(pMutex, false);
    if (!folderMaps.IsHeld()) {
        TNG_LOG(TNG_LOG_LEAVE, u"CTNGSharedDataMgr::UpdateCacheFolder, lock on FolderMapCollection failed");
        return QXTNG_ERROR_LOCK_FAILED;
    }
    if (m_pFolderMaps->IsEmpty() || !Exists(CachePath(m_strIndexFileName))) return 1;
    // The same folder by another name: its files are where they should be.
    if (Platform::IsSameFile(s_strCacheFolder.Get().c_str(), newFolder.c_str())) return 1;
    return MoveFolderMaps(newFolder);
}

// The index is the first of the files to be deleted, here as there: a folder that is left in the middle has
// no index without its files.
std::uint32_t CTNGSharedDataMgr::MoveFolderMaps(const std::u16string& newFolder) {
    const std::u16string oldFolder = s_strCacheFolder.Get();
    const std::u16string newIndex = PathIn(newFolder, m_strIndexFileName);
    bool bCopied = CopyCacheFileNoLock(CachePath(m_strIndexFileName), newIndex, false);
    std::vector<const CTNGFolderMap*> tried;
    m_pFolderMaps->ForEach([&](const CTNGFolderMap& folderMap) {
        if (!bCopied) return;
        tried.push_back(&folderMap);
        bCopied = CopyFolderMapFiles(folderMap, newFolder);
    });
    if (bCopied)
        DeleteCacheFileNoLock(CachePath(m_strIndexFileName));
    else
        DeleteCacheFileNoLock(newIndex);
    for (const CTNGFolderMap* pFolderMap : tried)
        DeleteFiles(*pFolderMap, bCopied ? oldFolder : newFolder);
    return bCopied ? 1 : 0;
}

bool CTNGSharedDataMgr::CopyFolderMapFiles(const CTNGFolderMap& folderMap, const std::u16string& newFolder) {
    const auto copy = [&](const std::u16string& name, std::uint32_t key, bool bListFile) {
        const std::u16string source = CachePath(name);
        return !Exists(source) ||
               CopyCacheFile(source, PathIn(newFolder, name), key, false, bListFile, TNG_LOCK_TIMEOUT_MS);
    };
    // A list that has changed is going to be written anew anyway.
    const bool bList = copy(folderMap.m_strListFileName, folderMap.m_nListFileKey, true);
    if (!bList && !folderMap.m_bListDirty) return false;
    return copy(folderMap.m_strDataFileName, folderMap.m_nDataFileKey, false);
}

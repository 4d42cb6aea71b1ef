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

}  // namespace

bool CTNGSharedDataMgr::HasIndexFile() const {
    return Exists(CachePath(m_strIndexFileName));
}

std::uint32_t CTNGSharedDataMgr::UpdateCacheFolder(const std::u16string& newFolder) {
    const std::shared_ptr<CTNGMutex> pMutex = GetFolderMapMutex();
    if (!pMutex) return 1;
    const TNGLockHold folderMaps(pMutex, false);
    if (!folderMaps.IsHeld()) {
        TNG_LOG(TNG_LOG_LEAVE, u"CTNGSharedDataMgr::UpdateCacheFolder, lock on FolderMapCollection failed");
        return QXTNG_ERROR_LOCK_FAILED;
    }
    if (m_pFolderMaps->IsEmpty() || !HasIndexFile()) return 1;
    // The same folder by another name: its files are where they should be.
    if (Platform::IsSameFile(s_strCacheFolder.Get().c_str(), newFolder.c_str())) return 1;
    return MoveFolderMaps(newFolder);
}

// The index is the first of the files to be deleted, here as there: a folder that is left in the middle has
// no index without its files.
std::uint32_t CTNGSharedDataMgr::MoveFolderMaps(const std::u16string& newFolder) {
    const std::u16string newIndex = PathIn(newFolder, m_strIndexFileName);
    if (!CopyCacheFileNoLock(CachePath(m_strIndexFileName), newIndex, false)) return 0;
    std::vector<std::u16string> copies;
    bool bCopied = true;
    m_pFolderMaps->ForEach([&](const CTNGFolderMap& folderMap) {
        bCopied = bCopied && CopyFolderMapFiles(folderMap, newFolder, &copies);
    });
    if (!bCopied) {
        DeleteCacheFileNoLock(newIndex);
        for (const std::u16string& copy : copies)
            DeleteCacheFileNoLock(copy);
        return 0;
    }
    DeleteCacheFileNoLock(CachePath(m_strIndexFileName));
    m_pFolderMaps->ForEach([](const CTNGFolderMap& folderMap) {
        folderMap.DeleteListFile();
        folderMap.DeleteDataFile();
        ++*folderMap.m_pDataGeneration;  // who is about to append to the old file has to begin anew
    });
    return 1;
}

bool CTNGSharedDataMgr::CopyFolderMapFiles(const CTNGFolderMap& folderMap, const std::u16string& newFolder,
                                           std::vector<std::u16string>* pCopies) {
    const auto copy = [&](const std::u16string& name, std::uint32_t key, bool bListFile) {
        const std::u16string source = CachePath(name);
        const std::u16string target = PathIn(newFolder, name);
        if (!Exists(source)) return true;
        if (!CopyCacheFile(source, target, key, false, bListFile, TNG_LOCK_TIMEOUT_MS)) return false;
        pCopies->push_back(target);
        return true;
    };
    // A list that has changed is going to be written anew anyway.
    const bool bList = copy(folderMap.m_strListFileName, folderMap.m_nListFileKey, true);
    if (!bList && !folderMap.m_bListDirty) return false;
    return copy(folderMap.m_strDataFileName, folderMap.m_nDataFileKey, false);
}

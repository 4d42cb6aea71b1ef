#include "TNGSharedDataMgr.h"
#include "common/TNGLog.h"
#include "locks/TNGLockHold.h"
#include "store/TNGCachePaths.h"
#include "store/TNGDateTimeFile.h"

namespace {

constexpr char16_t s_szLogSource[] = u"TNGSharedDataMgr";

}  // namespace

std::uint32_t CTNGSharedDataMgr::LoadDB(const char16_t* path, bool bPathIsFile, bool bLoadDirMapOnly,
                                        bool bKeepLoaded) {
    TNG_LOG(TNG_LOG_ENTER, u"CTNGSharedDataMgr::LoadDB");
    const CTNGAutoMutexPtr shared(GetSharedMutex(), true, TNG_LOCK_TIMEOUT_MS, true);
    if (!shared.IsLocked()) {
        TNG_LOG(TNG_LOG_LEAVE, u"CTNGSharedDataMgr::LoadDB condition sharedMutex.IsLocked failed");
        return QXTNG_ERROR_LOCK_FAILED;
    }
    if (bKeepLoaded && HasFolderMaps()) {
        TNG_LOG(TNG_LOG_LEAVE, u"CTNGSharedDataMgr::LoadDB");
        return QXTNG_SUCCESS;
    }
    const std::uint32_t result =
        m_pFolderMaps->Load(m_strIndexFileName, path, bPathIsFile, bLoadDirMapOnly, m_pTable.get());
    if (result != QXTNG_SUCCESS) {
        TNG_LOG(TNG_LOG_LEAVE, u"CTNGSharedDataMgr::LoadDB condition FolderMapCollection->Load failed");
        return result;
    }
    if (bLoadDirMapOnly || path) {
        TNG_LOG(TNG_LOG_LEAVE, u"CTNGSharedDataMgr::LoadDB condition bLoadDirMapOnly");
        SetCacheModifiedTime();
        return QXTNG_SUCCESS;
    }
    SetCacheModifiedTime();
    TNG_LOG(TNG_LOG_LEAVE, u"CTNGSharedDataMgr::LoadDB");
    return QXTNG_SUCCESS;
}

std::uint32_t CTNGSharedDataMgr::LoadFolderData(const char16_t* path, bool bPathIsFile) {
    if (!path) return QXTNG_ERROR_FAILED;
    std::u16string folder = path;
    if (bPathIsFile) CutToFolder(folder);
    CTNGFolderMap* pFolderMap = nullptr;
    {
        const TNGLockHold folderMaps(GetFolderMapMutex(), false);
        if (!folderMaps.IsHeld()) return QXTNG_ERROR_LOCK_FAILED;
        if (!m_pFolderMaps->LookupFolderMap(folder, &pFolderMap)) return QXTNG_ERROR_NOT_CACHED;
        if (pFolderMap->m_bListLoaded) return QXTNG_SUCCESS;
    }
    const CTNGAutoMutexPtr shared(GetSharedMutex(), true, TNG_LOCK_TIMEOUT_MS, true);
    const TNGLockHold folderMaps(GetFolderMapMutex(), true);
    if (!shared.IsLocked() || !folderMaps.IsHeld()) return QXTNG_ERROR_LOCK_FAILED;
    // Anew: no lock was held in between.
    if (!m_pFolderMaps->LookupFolderMap(folder, &pFolderMap)) return QXTNG_ERROR_NOT_CACHED;
    const std::uint32_t result = m_pFolderMaps->LoadIndexFile(path, bPathIsFile, &pFolderMap, m_pTable.get());
    if (result == QXTNG_ERROR_FILE_READ) {
        m_pFolderMaps->RemoveItem(folder);
        SetCacheModifiedTime();
    }
    return result;
}

// The path index goes with the records that it points at, or neither of them does.
std::uint32_t CTNGSharedDataMgr::ForgetOrDelete(bool bDeleteFiles) {
    const CTNGAutoMutexPtr shared(GetSharedMutex(), true, TNG_LOCK_TIMEOUT_MS, true);
    if (!shared.IsLocked()) return QXTNG_ERROR_LOCK_FAILED;
    if (!m_pFolderMaps->DeleteAll(bDeleteFiles)) return QXTNG_ERROR_LOCK_FAILED;
    ClearIndex();
    s_ftDirectoryMap = Platform::FILETIME{};
    return QXTNG_SUCCESS;
}

std::uint32_t CTNGSharedDataMgr::SetCacheEnabled(bool bEnable) {
    if (!bEnable) {
        if (const std::uint32_t result = ForgetOrDelete(true); result != QXTNG_SUCCESS) return result;
    }
    m_bCacheEnabled = bEnable;
    return QXTNG_SUCCESS;
}

std::uint32_t CTNGSharedDataMgr::Shutdown() {
    if (!HasFolderMaps()) return QXTNG_SUCCESS;
    m_pFolderMaps->SetIndexFileName(m_strIndexFileName);
    const CTNGAutoMutexPtr shared(GetSharedMutex(), true, TNG_LOCK_TIMEOUT_MS, true);
    if (!shared.IsLocked()) return QXTNG_ERROR_LOCK_FAILED;
    const std::uint32_t result = m_pFolderMaps->SaveFolderMaps(m_strIndexFileName, true);
    if (!m_pFolderMaps->DeleteAll(false)) return QXTNG_ERROR_LOCK_FAILED;
    ClearIndex();
    SetCacheModifiedTime();
    return result;
}

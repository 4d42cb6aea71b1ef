#include "TNGSharedDataMgr.h"

#include "locks/TNGLockHold.h"

CTNGSharedDataMgr::CTNGSharedDataMgr(const std::u16string& indexFileName)
    : m_pSharedMutex(std::make_unique<CTNGMutex>()),
      m_pFolderMaps(std::make_unique<CTNGFolderMapCollection>()),
      m_strIndexFileName(indexFileName) {
    m_bOwnsItems = false;  // records belong to their lists
}

CTNGSharedDataMgr::~CTNGSharedDataMgr() = default;

bool CTNGSharedDataMgr::HasFolderMaps() {
    const std::shared_ptr<CTNGMutex> pMutex = GetFolderMapMutex();
    if (!pMutex) return false;
    const TNGLockHold folderMaps(pMutex, false);
    return !folderMaps.IsHeld() || !m_pFolderMaps->IsEmpty();  // somebody is at work on them
}

bool CTNGSharedDataMgr::HasUnloadedFolders() {
    const TNGLockHold folderMaps(GetFolderMapMutex(), false);
    bool bUnloaded = false;
    if (folderMaps.IsHeld()) {
        m_pFolderMaps->ForEach(
            [&](const CTNGFolderMap& folderMap) { bUnloaded |= !folderMap.m_bListLoaded; });
    }
    return bUnloaded;
}

int CTNGSharedDataMgr::UpdateIndex(CTNGFileData* pRecord, int eIndexOperation) {
    if (eIndexOperation == TNG_INDEX_ADD || eIndexOperation == TNG_INDEX_REPLACE) {
        AddItemByKey(pRecord, pRecord->m_strFilePath);
    } else if (eIndexOperation == TNG_INDEX_REMOVE) {
        RemoveFromIndex(pRecord->m_strFilePath);
    } else if (eIndexOperation == TNG_INDEX_CLEAR) {
        ClearIndex();
    }
    return 1;
}

void CTNGSharedDataMgr::RemoveFromIndex(const CTNGFolderMap& folderMap) {
    for (int i = 0; i < folderMap.FileDataList->GetCount(); ++i)
        RemoveFromIndex(folderMap.FileDataList->GetAt(i)->m_strFilePath);
}

#include "TNGAddition.h"

#include "TNGDBMgr.h"
#include "store/TNGFolderMap.h"

std::atomic<std::int32_t> s_nPendingAdds{0};

namespace {

constexpr std::int32_t kBatch = 10;  // records to a flush

}  // namespace

CTNGAddition::CTNGAddition(CTNGSharedDataMgr& sharedData, std::atomic<TNGDBState>& eDBState,
                           const std::u16string& path)
    : m_sharedData(sharedData),
      m_eDBState(eDBState),
      m_path(path),
      m_shared(sharedData.GetSharedMutex(), true, TNG_LOCK_TIMEOUT_MS, true) {}

bool CTNGAddition::Begin() {
    CTNGFileData* pRecord = nullptr;
    int eIndexOperation = 0;
    if (!m_sharedData.AddFileData(m_path, &pRecord, &eIndexOperation, &m_bNewFolderMap)) return false;
    m_sharedData.UpdateIndex(pRecord, eIndexOperation);
    if (m_eDBState == TNG_DB_NOT_LOADED) {
        m_eDBState = m_sharedData.HasUnloadedFolders() ? TNG_DB_PARTIAL : TNG_DB_LOADED;
        m_bStateMoved = true;
    }
    m_made.Take(*pRecord);
    pRecord->m_pAddition = m_pToken;
    m_nRewrites = pRecord->m_pFolderMap->FileDataList->Rewrites();
    m_shared.Release();
    return true;
}

CTNGAddition::Outcome CTNGAddition::Publish() {
    if (!m_shared.GetLocked(true)) return Outcome::NoLock;
    CTNGFileData* const pLive = m_made.WriteOver(m_sharedData);
    if (!pLive) return Outcome::Gone;
    s_bCacheDirty = true;
    ++s_nPendingAdds;
    if (pLive->m_pFolderMap->FileDataList->Rewrites() != m_nRewrites)
        pLive->m_pFolderMap->NoteChangedRecord();
    return Outcome::Published;
}

bool CTNGAddition::FlushIfDue(bool* pbFlushed) {
    *pbFlushed = false;
    if (s_nPendingAdds < kBatch && !m_bNewFolderMap) return true;
    if (m_sharedData.AppendNewThumbnails() != QXTNG_SUCCESS) return false;
    s_nPendingAdds = 0;
    SetCacheModifiedTime();
    *pbFlushed = true;
    return true;
}

void CTNGAddition::End() {
    if (m_eDBState == TNG_DB_NOT_LOADED && m_sharedData.HasFolderMaps())
        m_eDBState = m_sharedData.HasUnloadedFolders() ? TNG_DB_PARTIAL : TNG_DB_LOADED;
    m_shared.Release();
}

void CTNGAddition::TakeBack() noexcept {
    try {
        m_shared.Release();
        m_pToken.reset();
        m_sharedData.RemoveFileData(m_path);
        if (m_bStateMoved && !m_sharedData.HasFolderMaps()) m_eDBState = TNG_DB_NOT_LOADED;
    } catch (...) {
        return;
    }
}

#include "TNGFoundRecord.h"

#include "store/TNGFolderMap.h"

void TNGFoundRecord::Take(const CTNGFileData& live) {
    record = live;
    record.m_strDataFileName = live.m_pFolderMap->m_strDataFileName;  // whatever a damaged record says
    generation = TNGDataGeneration(*live.m_pFolderMap);
    nDataFileKey = live.m_pFolderMap->m_nDataFileKey;
}

CTNGFileData* TNGFoundRecord::WriteOver(const CTNGCollectionBase2<std::u16string, CTNGFileData>& pathIndex) {
    CTNGFileData* const pLive = pathIndex.FindItem(record.m_strFilePath);
    if (!pLive || !generation.IsCurrentOf(*pLive->m_pFolderMap)) return nullptr;
    record.m_pFolderMap = pLive->m_pFolderMap;
    *pLive = record;
    pLive->m_pFolderMap->FileDataList->NoteBlock(*pLive);
    return pLive;
}

bool TNGFoundRecord::WriteBack(const CTNGCollectionBase2<std::u16string, CTNGFileData>& pathIndex) {
    const CTNGFileData* const pLive = pathIndex.FindItem(record.m_strFilePath);
    return pLive && pLive->m_bDeleted == 0 && WriteOver(pathIndex) != nullptr;
}

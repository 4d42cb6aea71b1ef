#include "TNGFoundRecord.h"

#include "store/TNGFolderMap.h"

void TNGFoundRecord::Take(const CTNGFileData& live) {
    record = live;
    generation = TNGDataGeneration(*live.m_pFolderMap);
    nDataFileKey = live.m_pFolderMap->m_nDataFileKey;
}

bool TNGFoundRecord::WriteBack(const CTNGCollectionBase2<std::u16string, CTNGFileData>& pathIndex) {
    CTNGFileData* const pLive = pathIndex.FindItem(record.m_strFilePath);
    if (!pLive || pLive->m_bDeleted != 0 || pLive->m_strDataFileName != record.m_strDataFileName)
        return false;
    if (!generation.IsCurrentOf(*pLive->m_pFolderMap)) return false;
    record.m_pFolderMap = pLive->m_pFolderMap;
    *pLive = record;
    return true;
}

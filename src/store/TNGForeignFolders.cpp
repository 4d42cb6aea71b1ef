#include "TNGForeignFolders.h"

#include <algorithm>

#include "common/TNGFileInfo.h"
#include "store/TNGCachePaths.h"

namespace {

bool IsSame(const CTNGFolderMap& a, const CTNGFolderMap& b) {
    return a.m_strFolderPath == b.m_strFolderPath && a.m_strListFileName == b.m_strListFileName &&
           a.m_strDataFileName == b.m_strDataFileName;
}

}  // namespace

TNGForeignFolders::TNGForeignFolders(CTNGFolderMapCollection& known, TNGPathIndex* pPathIndex)
    : m_known(known), m_pPathIndex(pPathIndex) {
    known.ForEach([this](CTNGFolderMap& folderMap) { Claim(folderMap); });
}

bool TNGForeignFolders::TakeUp(std::unique_ptr<CTNGFolderMap> pFolderMap, bool* pbAdded) {
    const std::set<CTNGFolderMap*> others = OthersLike(*pFolderMap);
    const bool bMet =
        std::ranges::any_of(others, [this](CTNGFolderMap* pOther) { return m_met.contains(pOther); });
    const bool bKnown = others.size() == 1 && IsSame(**others.begin(), *pFolderMap);
    if (bMet || bKnown) {  // what the index lists twice counts once
        if (bKnown) m_met.insert(*others.begin());
        ForgetTwin(*pFolderMap);
        return true;
    }
    Platform::WIN32_FIND_DATAW entry;
    if (!CTNGFileInfo::FindFileData(CachePath(pFolderMap->m_strListFileName).c_str(), &entry, false))
        return true;
    if (!others.empty() && !m_pPathIndex) return false;
    for (CTNGFolderMap* pOther : others)
        Forget(*pOther);
    pFolderMap->m_ftListFile = entry.ftLastWriteTime;
    const std::u16string key = pFolderMap->m_strFolderPath;
    m_known.AddItemByKey(pFolderMap.get(), key);
    Claim(*pFolderMap);
    m_met.insert(pFolderMap.release());
    *pbAdded = true;
    return true;
}

void TNGForeignFolders::Claim(CTNGFolderMap& folderMap) {
    m_byFile[folderMap.m_strListFileName] = &folderMap;
    m_byFile[folderMap.m_strDataFileName] = &folderMap;
}

// Known folders of the same path, or with one of the same files.
std::set<CTNGFolderMap*> TNGForeignFolders::OthersLike(const CTNGFolderMap& folderMap) const {
    std::set<CTNGFolderMap*> others;
    if (CTNGFolderMap* const pSamePath = m_known.FindItem(folderMap.m_strFolderPath))
        others.insert(pSamePath);
    for (const std::u16string& name : {folderMap.m_strListFileName, folderMap.m_strDataFileName}) {
        if (const auto found = m_byFile.find(name); found != m_byFile.end()) others.insert(found->second);
    }
    return others;
}

// Its files stay: mostly they are another folder's by now.
void TNGForeignFolders::Forget(CTNGFolderMap& folderMap) {
    for (int i = 0; i < folderMap.FileDataList->GetCount(); ++i)
        m_pPathIndex->erase(folderMap.FileDataList->GetAt(i)->m_strFilePath);
    std::erase_if(m_byFile, [&folderMap](const auto& claim) { return claim.second == &folderMap; });
    const std::u16string key = folderMap.m_strFolderPath;
    m_known.RemoveItem(key);
}

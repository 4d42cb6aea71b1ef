#pragma once

#include <memory>
#include <set>
#include <string>
#include <unordered_map>
#include <unordered_set>

#include "TNGFolderMapCollection.h"

/// Takes up what another process has written into the index. The files of a folder that is deleted are soon
/// those of another folder: whoever still knew the old one would list them twice. The caller has a write hold
/// on the folder-map lock, and with a path index one on the shared lock, while the object lives.
class TNGForeignFolders {
  public:
    /// Without the path index no known folder can be forgotten.
    TNGForeignFolders(CTNGFolderMapCollection& known, TNGPathIndex* pPathIndex);

    /// Takes a folder of the index, unless it is known or has no list file; `*pbAdded` receives true then.
    /// False if it would take the place of a known one that cannot be forgotten.
    bool TakeUp(std::unique_ptr<CTNGFolderMap> pFolderMap, bool* pbAdded);

  private:
    void Claim(CTNGFolderMap& folderMap);
    std::set<CTNGFolderMap*> OthersLike(const CTNGFolderMap& folderMap) const;
    void Forget(CTNGFolderMap& folderMap);

    CTNGFolderMapCollection& m_known;
    TNGPathIndex* m_pPathIndex;
    std::unordered_map<std::u16string, CTNGFolderMap*> m_byFile;  // whose it is
    std::unordered_set<CTNGFolderMap*> m_met;                     // in the index so far
};

/// Leaves the files of a folder that does not count to whom they belong.
inline void ForgetTwin(CTNGFolderMap& folderMap) {
    folderMap.FileDataList->SetListFileName({});
}

#include "TNGFolderFiles.h"

#include "locks/TNGMutex.h"
#include "store/TNGCacheFiles.h"
#include "store/TNGCachePaths.h"
#include "store/TNGKeptFile.h"

bool TNGFolderFiles::DeleteDataFile() const {
    // A damaged index may name anything; only what can be a file of the cache is deleted as one.
    const bool bDeleted =
        m_strDataFileName.ends_with(u".db") &&
        DeleteCacheFile(CachePath(m_strDataFileName), m_nDataFileKey, false, TNG_LOCK_TIMEOUT_MS);
    s_keptDataFile.Close();  // its room on the disk would stay taken
    return bDeleted;
}

bool TNGFolderFiles::DeleteListFile() const {
    return m_strListFileName.ends_with(u".dat") &&
           DeleteCacheFile(CachePath(m_strListFileName), m_nListFileKey, true, TNG_LOCK_TIMEOUT_MS);
}

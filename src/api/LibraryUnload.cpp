#include "QxTng.h"
#include "TNGMgr.h"
#include "common/TNGFileInfo.h"
#include "database/TNGDBMgr.h"
#include "imaging/TNGImageLibrary.h"
#include "locks/TNGFileLockRegistry.h"

namespace {

// Runs when the process ends or unloads the library: the cache is saved if it has to be, then everything
// goes, from the top down.
__attribute__((destructor)) void UnloadLibrary() {
    if (s_bCacheDirty) ShutDown();
    CTNGMgr::Destroy();
    ReleaseFileLockRegistry();
    UnloadImageLibrary();
    s_strCacheFolder.Set({});
}

}  // namespace

#include "QxTng.h"
#include "TNGMgr.h"
#include "database/TNGDBMgr.h"
#include "imaging/TNGImageLibrary.h"
#include "store/TNGFileInfo.h"

namespace {

// Runs when the process ends or unloads the library: the cache is saved if it has to be, then everything
// goes, from the top down.
__attribute__((destructor)) void UnloadLibrary() {
    if (s_bCacheDirty) ShutDown();
    CTNGMgr::Destroy();
    UnloadImageLibrary();
    s_strCacheFolder.Set({});
}

}  // namespace

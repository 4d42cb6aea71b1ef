#include <unistd.h>

#include "QxTng.h"
#include "TNGMgr.h"
#include "common/TNGFileInfo.h"
#include "database/TNGDBMgr.h"
#include "generation/TNGThread.h"
#include "imaging/TNGImageLibrary.h"
#include "locks/TNGFileLockRegistry.h"

namespace {

const pid_t s_nLoadedBy = getpid();

// Runs when the process ends or unloads the library: the cache is saved if it has to be, then everything
// goes, from the top down. A child that was forked off and ends has nothing of its own to save, and none of
// the threads and locks that it sees.
__attribute__((destructor)) void UnloadLibrary() {
    if (getpid() != s_nLoadedBy) return;
    if (CTNGMgr* pManager = CTNGMgr::FindInstance()) pManager->StopThreads();
    CTNGThread::JoinStoppedThreads();
    if (s_bCacheDirty) ShutDown();
    CTNGMgr::Destroy();
    CTNGDBMgr::ReleaseGlobalMutexes();
    ReleaseFileLockRegistry();
    UnloadImageLibrary();
    s_strCacheFolder.Clear();
    s_strDateTimeFilePath.Clear();
}

}  // namespace

#include <unistd.h>

#include "TNGCalls.h"
#include "TNGMgr.h"
#include "common/TNGFileInfo.h"
#include "database/TNGDBMgr.h"
#include "generation/TNGThread.h"
#include "imaging/TNGImageLibrary.h"
#include "locks/TNGFileLockRegistry.h"

namespace {

const pid_t s_nLoadedBy = getpid();

constexpr std::uint32_t kCallGrace = 1000;  // ms for calls under way

void SaveCache(CTNGMgr& manager) {
    try {
        manager.ShutDown();
    } catch (...) {
        return;  // memory has run out
    }
}

void TakeDown() {
    CTNGMgr::Destroy();
    CTNGDBMgr::ReleaseGlobalMutexes();
    ReleaseFileLockRegistry();
    UnloadImageLibrary();
    s_strCacheFolder.Clear();
    s_strDateTimeFilePath.Clear();
}

// Runs when the process ends or unloads the library: the cache is saved if it has to be, then everything
// goes, from the top down. A thread of a process that ends may be in a call that takes longer: nothing is
// taken from under it then, and the system clears up. A child that was forked off and ends has nothing of
// its own to save, and none of the threads and locks that it sees.
__attribute__((destructor)) void UnloadLibrary() {
    if (getpid() != s_nLoadedBy) return;
    const bool bCallsOver = EndCalls(kCallGrace);
    CTNGMgr* const pManager = CTNGMgr::FindInstance();
    if (pManager) pManager->EndThreads();
    CTNGThread::JoinStoppedThreads();
    if (pManager && s_bCacheDirty) SaveCache(*pManager);
    if (bCallsOver) TakeDown();
}

}  // namespace

#include "TNGDateTimeFile.h"

#include "common/TNGFileInfo.h"
#include "common/TNGLog.h"
#include "common/TNGTypes.h"
#include "locks/TNGLockHold.h"
#include "store/TNGCachePaths.h"
#include "store/TNGDataFile.h"
#include "store/TNGKeptFile.h"

TNGSharedText s_strDateTimeFilePath;
TNGShared<std::shared_ptr<CTNGMutex>> s_pDateTimeMutex;
std::atomic<Platform::FILETIME> s_ftCacheModified{Platform::FILETIME{}};

namespace {

constexpr char16_t s_szLogSource[] = u"TNGDBMgr";

// A time that no other can follow comes of damage; the present time takes its place.
bool ReadTime(Platform::FILETIME* pTime) {
    CTNGDataFile file(&s_keptDateTimeFile);
    if (file.ReadDateTime(s_strDateTimeFilePath.Get(), pTime) != QXTNG_SUCCESS) return false;
    const Platform::FILETIME next = Platform::NextFileTime(*pTime);
    return Platform::CompareFileTime(&next, pTime) > 0;
}

Platform::FILETIME TimeOfChange() {
    Platform::FILETIME now;
    Platform::GetSystemTimePreciseAsFileTime(&now);
    Platform::FILETIME last;
    if (!ReadTime(&last) || Platform::CompareFileTime(&last, &now) < 0) return now;
    return Platform::NextFileTime(last);
}

}  // namespace

void PrepareDateTimeFile() {
    if (s_strDateTimeFilePath.Get().empty()) MoveDateTimeFile(s_strCacheFolder.Get());
    if (!s_pDateTimeMutex.Get()) s_pDateTimeMutex.Set(std::make_shared<CTNGMutex>());
}

void MoveDateTimeFile(const std::u16string& folder) {
    std::u16string path;
    CTNGFileInfo::BuildFilePath(path, folder, s_strDateTimeFileName);
    s_strDateTimeFilePath.Set(path);
}

void SetCacheModifiedTime() {
    const TNGLockHold hold(s_pDateTimeMutex.Get(), true);
    if (!hold.IsHeld()) {
        TNG_LOG(TNG_LOG_INFO,
                u"CTNGDBMgr::SetCacheModifiedTime,Shared data file(date-time) mutex lock failed");
        return;
    }
    Platform::FILETIME time = TimeOfChange();
    CTNGDataFile file;
    const bool bWritten = file.WriteDateTime(s_strDateTimeFilePath.Get(), &time) == QXTNG_SUCCESS;
    // Where it may not be written, what is there is all that can be kept in step with.
    Platform::FILETIME there;
    if (!bWritten && ReadTime(&there)) time = there;
    s_ftCacheModified = time;
    TNG_LOG(TNG_LOG_INFO, bWritten
                              ? u"CTNGDBMgr::SetCacheModifiedTime successful"
                              : u"CTNGDBMgr::SetCacheModifiedTime, Error while writing shared data file");
}

bool IsCacheSynchronized() {
    const auto answer = [](bool bAnswer) {
        TNG_LOG(TNG_LOG_INFO, bAnswer ? u"CTNGDBMgr::IsCacheSynchronized, returned true"
                                      : u"CTNGDBMgr::IsCacheSynchronized, returned false");
        return bAnswer;
    };
    const TNGLockHold hold(s_pDateTimeMutex.Get(), false);
    if (!hold.IsHeld()) {
        TNG_LOG(TNG_LOG_INFO,
                u"CTNGDBMgr::IsCacheSynchronized,Shared data file(date-time) mutex lock failed");
        return answer(true);
    }
    Platform::FILETIME time;
    const Platform::FILETIME own = s_ftCacheModified;
    // Not an earlier one, either: it may have been written in place of a time that was damaged.
    if (ReadTime(&time) && Platform::CompareFileTime(&time, &own) == 0) return answer(true);
    s_keptDataFile.Close();  // another may have taken its place
    return answer(false);
}

#include "UpdateCommand.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <future>
#include <mutex>
#include <set>

#include <sys/stat.h>

#include "CacheSelection.h"
#include "api/QxTng.h"
#include "platform/Text.h"
#include "terminal/Figures.h"
#include "terminal/Interruption.h"
#include "terminal/Messages.h"
#include "terminal/Progress.h"
#include "thumbnails/Thumbnail.h"
#include "thumbnails/WorkerPool.h"

namespace Client {
namespace {

using Clock = std::chrono::steady_clock;

struct Figures {
    std::size_t files = 0;
    std::size_t made = 0;
    std::size_t upToDate = 0;
    std::size_t gone = 0;
    std::size_t failed = 0;

    std::size_t Left() const { return files - made - upToDate - gone - failed; }
};

bool IsGone(const std::string& path) {
    struct stat status {};
    return stat(path.c_str(), &status) != 0 && (errno == ENOENT || errno == ENOTDIR);
}

/// Goes over files of the cache on several threads. What is gone is only noted.
class Updating {
  public:
    explicit Updating(const CacheSelection& selection) : m_files(selection.files) {
        for (const CacheCheck::CachedFolder& folder : selection.folders)
            m_files.insert(m_files.end(), folder.files.begin(), folder.files.end());
        m_figures.files = m_files.size();
    }

    void Run(std::size_t workers, const Interruption& interruption) {
        Progress progress(m_files.size());
        std::vector<std::future<void>> threads;
        for (std::size_t i = 1; i < std::min(workers, m_files.size()); ++i)
            threads.push_back(std::async(std::launch::async, [&] { Work(progress, interruption); }));
        Work(progress, interruption);
        for (std::future<void>& thread : threads)
            thread.get();
    }

    const Figures& Result() const { return m_figures; }
    const std::set<std::string>& Gone() const { return m_gone; }

  private:
    void Work(Progress& progress, const Interruption& interruption) {
        while (interruption.Signal() == 0) {
            const std::size_t index = m_claimed++;
            if (index >= m_files.size()) return;
            Update(m_files[index]);
            const std::scoped_lock lock(m_guard);
            progress.Advance();
            if (m_failure.empty()) continue;
            progress.Clear();
            PrintError(m_failure);
            m_failure.clear();
        }
    }

    void Update(const CacheCheck::CachedFile& file) {
        const bool isGone = IsGone(file.path);
        const bool isDue =
            !isGone && file.hasThumbnails && FindCacheEntry(file.path) == CacheEntry::OutOfDate;
        const std::uint32_t result = isDue ? UpdateThumbnail(Platform::PathFromBytes(file.path).c_str())
                                           : std::uint32_t{QXTNG_SUCCESS};
        const std::scoped_lock lock(m_guard);
        if (isGone) {
            ++m_figures.gone;
            m_gone.insert(file.path);
        } else if (result != QXTNG_SUCCESS) {
            ++m_figures.failed;
            m_failure = Displayable(file.path) + ": cannot be read; its old thumbnail stays";
        } else {
            ++(isDue ? m_figures.made : m_figures.upToDate);
        }
    }

    std::vector<CacheCheck::CachedFile> m_files;
    std::atomic<std::size_t> m_claimed = 0;
    std::mutex m_guard;  // of all that follows
    Figures m_figures;
    std::set<std::string> m_gone;
    std::string m_failure;  // to be printed
};

void Forget(const CacheCheck::CachedFile& file) {
    DeleteThumbnail(Platform::PathFromBytes(file.path).c_str());
}

/// The folder is the one whose list has the entries, whatever the path of a damaged entry says.
void ForgetGoneIn(const CacheCheck::CachedFolder& folder, const std::set<std::string>& gone) {
    const auto isGone = [&gone](const CacheCheck::CachedFile& file) { return gone.contains(file.path); };
    if (std::ranges::none_of(folder.files, isGone)) return;
    const std::u16string key = Platform::PathFromBytes(folder.path);
    if (IsGone(folder.path + '/')) {
        DeleteFolder(key.c_str());
        return;
    }
    UpdateFolder(key.c_str());  // passes over what is shown by a default image
    for (const CacheCheck::CachedFile& file : folder.files) {
        if (!file.hasThumbnails && isGone(file)) Forget(file);
    }
}

/// Removes the entries of files that are gone: folder by folder, since each removal saves the folder's list.
void ForgetGone(const CacheSelection& selection, const std::set<std::string>& gone) {
    for (const CacheCheck::CachedFile& file : selection.files) {
        if (gone.contains(file.path)) Forget(file);
    }
    for (const CacheCheck::CachedFolder& folder : selection.folders)
        ForgetGoneIn(folder, gone);
}

void Report(const Figures& figures, Clock::duration time, const std::string& cacheFolder) {
    PrintLine(Counted(figures.files, "file") + ", " + ToText(figures.made) + " made anew, " +
              ToText(figures.upToDate) + " up to date, " + ToText(figures.gone) + " gone, " +
              ToText(figures.failed) + " failed, " +
              (figures.Left() ? ToText(figures.Left()) + " left, " : "") +
              ToText(std::chrono::duration<double>(time)));
    PrintLine("Cache: " + Displayable(cacheFolder));
}

}  // namespace

int RunUpdate(const UpdateOptions& options) {
    const auto start = Clock::now();
    ThumbnailCache cache = ThumbnailCache::Existing(options.cache, ThumbnailCache::Access::Write);
    const CacheSelection selection = options.paths.empty()
                                         ? SelectWholeCache(cache.Folder())
                                         : SelectFromCache(cache.Folder(), options.paths, options.recursive);
    const bool allFound = ReportMissing(selection);
    Updating updating(selection);
    const Interruption interruption;
    updating.Run(options.workers != 0 ? options.workers : WorkerPool::Processors(), interruption);
    if (interruption.Signal() == 0) ForgetGone(selection, updating.Gone());
    const std::string folder = cache.Folder();
    const bool isSaved = cache.Close();
    Report(updating.Result(), Clock::now() - start, folder);
    if (const int signalNumber = interruption.Signal()) return kExitOfSignal + signalNumber;
    return ExitCodeOf(allFound && isSaved && updating.Result().failed == 0);
}

}  // namespace Client

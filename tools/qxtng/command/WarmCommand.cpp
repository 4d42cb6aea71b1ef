#include "WarmCommand.h"

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <deque>
#include <mutex>

#include "cutil/AssetType.h"
#include "files/FolderList.h"
#include "files/SourceFile.h"
#include "platform/Text.h"
#include "terminal/Figures.h"
#include "terminal/Interruption.h"
#include "terminal/Messages.h"
#include "terminal/Progress.h"
#include "thumbnails/ThumbnailCache.h"
#include "thumbnails/WorkerPool.h"

namespace Client {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kLook{50};  // between looks for a signal

enum class Fate { Made, NotKept, Failed };

struct Figures {
    std::size_t files = 0;
    std::size_t upToDate = 0;
    std::size_t made = 0;
    std::size_t notKept = 0;
    std::size_t failed = 0;
    std::size_t left = 0;
    std::chrono::duration<double> time{};
};

/// Hands out the files and collects what became of each.
class Warming : public WorkerPool::Jobs {
  public:
    struct Outcome {
        std::size_t index;
        Fate fate;
        std::string failure;
    };

    /// The files must outlive the object.
    explicit Warming(const std::vector<std::string>& files) : m_files(files) {}

    std::optional<Job> Claim() override {
        if (m_claimed == m_files.size()) return std::nullopt;
        const std::size_t index = m_claimed++;
        return Job{index, {m_files[index], TNG_LARGE_BOX, TNG_SOURCE_DECODE_ONLY}};
    }

    void Finish(std::size_t index, const JobResult& result) override {
        Outcome outcome{index, Fate::Failed, result.failure};
        if (result.thumbnail) {
            const bool isKept = FindCacheEntry(m_files[index]) == CacheEntry::UpToDate;
            const bool shouldBe = !isKept && IsLarge(m_files[index]);
            outcome.fate = isKept ? Fate::Made : shouldBe ? Fate::Failed : Fate::NotKept;
            if (shouldBe) outcome.failure = "its thumbnail could not be kept";
        }
        const std::scoped_lock lock(m_guard);
        m_outcomes.push_back(std::move(outcome));
        m_added.notify_one();
    }

    /// The next outcome; none if there is none within `time`.
    std::optional<Outcome> Take(std::chrono::milliseconds time) {
        std::unique_lock lock(m_guard);
        if (!m_added.wait_for(lock, time, [this] { return !m_outcomes.empty(); })) return std::nullopt;
        Outcome outcome = std::move(m_outcomes.front());
        m_outcomes.pop_front();
        return outcome;
    }

  private:
    /// Of what is not, the cache keeps nothing.
    static bool IsLarge(const std::string& path) {
        const std::optional<TNGSize> size = OriginalSize(path);
        return size && (size->nWidth > TNG_LARGE_BOX.nWidth || size->nHeight > TNG_LARGE_BOX.nHeight);
    }

    const std::vector<std::string>& m_files;
    std::size_t m_claimed = 0;
    std::mutex m_guard;  // of the two that follow
    std::condition_variable m_added;
    std::deque<Outcome> m_outcomes;
};

/// Only pictures and videos have entries of their own, and PNG files have none.
bool CanBeKept(const std::string& path) {
    const std::u16string text = Platform::PathFromBytes(path);
    const std::uint32_t type = QxzCUtil::GetAssetType(text.c_str());
    if (type != ASSET_TYPE_IMAGE && type != ASSET_TYPE_VIDEO) return false;
    std::u16string extension = text.substr(text.size() - std::min<std::size_t>(text.size(), 4));
    for (char16_t& unit : extension)
        unit |= 0x20;
    return extension != u".png";
}

/// The files of the folder that the cache lacks, from the root.
std::vector<std::string> FindMissing(const WarmOptions& options, const std::vector<std::string>& files,
                                     const Interruption& interruption, Figures& figures) {
    const std::string folder = AbsoluteFolder(options.folder);
    std::vector<std::string> missing;
    for (const std::string& file : files) {
        if (interruption.Signal() != 0) break;
        const std::string path = folder + file;
        if (!CanBeKept(path)) {
            ++figures.notKept;
        } else if (FindCacheEntry(path) == CacheEntry::UpToDate) {
            ++figures.upToDate;
        } else {
            missing.push_back(path);
        }
    }
    return missing;
}

void Count(const Warming::Outcome& outcome, Figures& figures) {
    ++(outcome.fate == Fate::Made      ? figures.made
       : outcome.fate == Fate::NotKept ? figures.notKept
                                       : figures.failed);
}

void MakeAll(const WarmOptions& options, const std::vector<std::string>& files,
             const Interruption& interruption, Figures& figures) {
    Warming warming(files);
    Progress progress(files.size());
    const std::size_t workers = options.workers != 0 ? options.workers : WorkerPool::Processors();
    WorkerPool pool(warming, std::min(workers, files.size()));
    auto lastResult = Clock::now();
    for (std::size_t done = 0; done < files.size() && interruption.Signal() == 0;) {
        const std::optional<Warming::Outcome> outcome = warming.Take(kLook);
        if (outcome) {
            ++done;
            lastResult = Clock::now();
            Count(*outcome, figures);
            progress.Advance();
        } else if (Clock::now() - lastResult > WorkerPool::kPatience) {
            pool.ReplaceDead();
        }
        if (!outcome || outcome->fate != Fate::Failed) continue;
        progress.Clear();
        PrintError(Displayable(files[outcome->index]) + ": " + outcome->failure);
    }
}

void Report(const Figures& figures, const std::string& cacheFolder) {
    const double rate =
        figures.time.count() > 0 ? static_cast<double>(figures.made) / figures.time.count() : 0;
    char perSecond[48];
    std::snprintf(perSecond, sizeof perSecond, "%.0f per second", rate);
    PrintLine(Counted(figures.files, "file") + ", " + ToText(figures.made) + " made, " +
              ToText(figures.upToDate) + " up to date, " + ToText(figures.notKept) + " not kept, " +
              ToText(figures.failed) + " failed, " + (figures.left ? ToText(figures.left) + " left, " : "") +
              ToText(figures.time) + ", " + perSecond);
    PrintLine("Cache: " + Displayable(cacheFolder));
}

}  // namespace

int RunWarm(const WarmOptions& options) {
    const auto start = Clock::now();
    const auto [files, complete] = ListFolder(options.folder, options.recursive);
    ThumbnailCache cache(options.cache);
    if (cache.Folder().empty() || cache.IsReadOnly()) throw Failure("there is no cache to fill");
    const Interruption interruption;
    Figures figures{.files = files.size()};
    MakeAll(options, FindMissing(options, files, interruption, figures), interruption, figures);
    figures.left = figures.files - figures.made - figures.upToDate - figures.notKept - figures.failed;
    const std::string folder = cache.Folder();
    const bool isSaved = cache.Close();
    figures.time = Clock::now() - start;
    Report(figures, folder);
    if (const int signalNumber = interruption.Signal()) return kExitOfSignal + signalNumber;
    return ExitCodeOf(complete && isSaved && figures.failed == 0);
}

}  // namespace Client

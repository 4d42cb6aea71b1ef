#include "MoveCommand.h"

#include <chrono>
#include <future>

#include "files/FolderSize.h"
#include "files/SourceFile.h"
#include "terminal/Figures.h"
#include "terminal/Messages.h"
#include "terminal/Progress.h"

namespace Client {
namespace {

constexpr std::chrono::milliseconds kLook{100};  // between looks at how far it is

/// The library moves all files in one call; how far it is can be seen in the new folder.
/// Answers how many bytes have come there.
std::uint64_t MoveWithProgress(ThumbnailCache& cache, const std::string& newFolder) {
    const std::size_t files = SizeOfFolder(cache.Folder()).files;
    const FolderSize before = SizeOfFolder(newFolder);
    Progress progress(files);
    auto moved = std::async(std::launch::async, [&] { cache.MoveTo(newFolder); });
    for (std::size_t shown = 0; moved.wait_for(kLook) != std::future_status::ready;) {
        const std::size_t there = SizeOfFolder(newFolder).files;
        for (; shown + before.files < there && shown < files; ++shown)
            progress.Advance();
    }
    moved.get();
    return SizeOfFolder(newFolder).bytes - before.bytes;
}

}  // namespace

int RunMove(const MoveOptions& options) {
    if (options.newFolder.empty()) throw WrongUse("the name of the new folder is empty");
    ThumbnailCache cache = ThumbnailCache::Existing(options.cache, ThumbnailCache::Access::Write);
    const std::uint64_t bytes = MoveWithProgress(cache, AbsolutePath(options.newFolder));
    PrintLine(BytesToText(bytes) + " moved");
    PrintLine("Cache: " + Displayable(cache.Folder()));
    return kExitGood;
}

}  // namespace Client

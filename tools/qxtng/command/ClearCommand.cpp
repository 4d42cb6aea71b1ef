#include "ClearCommand.h"

#include "CacheContents.h"
#include "files/FolderSize.h"
#include "terminal/Figures.h"
#include "terminal/Messages.h"

namespace Client {

int RunClear(const ClearOptions& options) {
    ThumbnailCache cache = ThumbnailCache::Existing(options.cache, ThumbnailCache::Access::Write);
    std::size_t files = 0;
    for (const CacheCheck::CachedFolder& folder : CacheCheck::ReadContents(cache.Folder()))
        files += folder.files.size();
    const std::uint64_t before = SizeOfFolder(cache.Folder()).bytes;
    cache.Clear();
    const std::uint64_t after = SizeOfFolder(cache.Folder()).bytes;
    PrintLine(Counted(files, "file") + " forgotten, " + BytesToText(before - std::min(before, after)) +
              " freed");
    PrintLine("Cache: " + Displayable(cache.Folder()));
    return kExitGood;
}

}  // namespace Client

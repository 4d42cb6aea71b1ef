#include "ForgetCommand.h"

#include "CacheSelection.h"
#include "api/QxTng.h"
#include "platform/Text.h"
#include "terminal/Figures.h"
#include "terminal/Messages.h"

namespace Client {
namespace {

/// What another program has removed meanwhile is gone as well.
bool IsForgotten(std::uint32_t result, const std::string& path) {
    if (result == QXTNG_SUCCESS || result == QXTNG_ERROR_NOT_CACHED) return true;
    PrintError(Displayable(path) + ": stays in the cache, which cannot be changed (error " +
               std::to_string(result) + ')');
    return false;
}

}  // namespace

int RunForget(const ForgetOptions& options) {
    ThumbnailCache cache = ThumbnailCache::Existing(options.cache, ThumbnailCache::Access::Write);
    const CacheSelection selection = SelectFromCache(cache.Folder(), options.paths, options.recursive);
    bool good = ReportMissing(selection);
    std::size_t files = 0;
    std::size_t folders = 0;
    for (const CacheCheck::CachedFolder& folder : selection.folders) {
        if (IsForgotten(DeleteFolder(Platform::PathFromBytes(folder.path).c_str()), folder.path)) {
            ++folders;
            files += folder.files.size();
        } else {
            good = false;
        }
    }
    for (const CacheCheck::CachedFile& file : selection.files) {
        if (IsForgotten(DeleteThumbnail(Platform::PathFromBytes(file.path).c_str()), file.path)) {
            ++files;
        } else {
            good = false;
        }
    }
    PrintLine(Counted(files, "file") + " forgotten" +
              (folders != 0 ? ", with " + Counted(folders, "folder") : ""));
    return ExitCodeOf(cache.Close() && good);
}

}  // namespace Client

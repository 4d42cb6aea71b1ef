#include "InfoCommand.h"

#include "files/SourceFile.h"
#include "terminal/JsonText.h"
#include "terminal/Messages.h"
#include "thumbnails/Thumbnail.h"
#include "thumbnails/ThumbnailCache.h"

namespace Client {
namespace {

/// A file as the library sees it, or why it does not.
struct FileInfo {
    std::string file;
    CacheEntry entry{};
    std::optional<TNGSize> original;
    TNGOrigin origin{};
    std::string failure;  // if there is one, only this and the file hold
};

/// The request comes last: it may change what the others ask about.
FileInfo Examine(const std::string& file) {
    FileInfo info{.file = file, .original = {}, .failure = {}};
    try {
        const std::string path = AbsolutePath(file);
        CheckReadable(path);
        info.entry = FindCacheEntry(path);
        info.original = OriginalSize(path);
        info.origin =
            MakeCompressedThumbnail({path, TNG_LARGE_BOX, TNG_SOURCE_EMBEDDED_FILLED_OR_DECODE}).Origin();
    } catch (const std::exception& error) {
        info.failure = error.what();
    }
    return info;
}

std::string LineOf(const FileInfo& info) {
    const char* const entry = info.entry == CacheEntry::None       ? "not in the cache"
                              : info.entry == CacheEntry::UpToDate ? "in the cache, up to date"
                                                                   : "in the cache, out of date";
    return Displayable(info.file) + ": " + (info.original ? ToText(*info.original) : "no size") + ", " +
           entry + "; now " + std::string(NameOf(info.origin));
}

std::string JsonOf(const FileInfo& info) {
    const std::string start = "{\"file\":" + JsonText(info.file);
    if (!info.failure.empty()) return start + ",\"error\":" + JsonText(info.failure) + '}';
    const auto boolean = [](bool value) { return value ? "true" : "false"; };
    const std::string size = info.original ? JsonNumber("width", info.original->nWidth) + ',' +
                                                 JsonNumber("height", info.original->nHeight)
                                           : "\"width\":null,\"height\":null";
    return start + ",\"cached\":" + boolean(info.entry != CacheEntry::None) +
           ",\"upToDate\":" + boolean(info.entry == CacheEntry::UpToDate) + ',' + size +
           ",\"origin\":" + JsonText(NameOf(info.origin)) + '}';
}

/// File by file, so that a long run shows how far it is.
bool PrintJson(const InfoOptions& options, const std::string& cacheFolder) {
    bool good = true;
    PrintLine("{\"cache\":" + (cacheFolder.empty() ? "null" : JsonText(cacheFolder)) + ",\"files\":[");
    for (const std::string& file : options.files) {
        const FileInfo info = Examine(file);
        PrintLine(JsonOf(info) + (&file == &options.files.back() ? "" : ","));
        good = good && info.failure.empty();
    }
    PrintLine("]}");
    return good;
}

bool PrintText(const InfoOptions& options) {
    bool good = true;
    for (const std::string& file : options.files) {
        const FileInfo info = Examine(file);
        if (info.failure.empty()) {
            PrintLine(LineOf(info));
        } else {
            PrintError(DisplayableName(file) + ": " + info.failure);
            good = false;
        }
    }
    return good;
}

}  // namespace

int RunInfo(const InfoOptions& options) {
    const ThumbnailCache cache(options.cache);
    const bool good = options.json ? PrintJson(options, cache.Folder()) : PrintText(options);
    CheckStandardOutput(Lines::Result);
    return ExitCodeOf(good);
}

}  // namespace Client

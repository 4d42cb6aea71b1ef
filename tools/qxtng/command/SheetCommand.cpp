#include "SheetCommand.h"

#include <algorithm>
#include <filesystem>

#include "files/FolderList.h"
#include "files/SourceFile.h"
#include "sheet/SheetFigures.h"
#include "sheet/SheetPage.h"
#include "sheet/TileMaker.h"
#include "terminal/Figures.h"
#include "terminal/Messages.h"
#include "terminal/Progress.h"
#include "thumbnails/ThumbnailCache.h"

namespace Client {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

SheetSource DescribeSource(const SheetOptions& options) {
    const fs::path folder = AbsoluteFolder(options.folder);
    const fs::path page = fs::path(AbsolutePath(options.page)).lexically_normal();
    const fs::path reference = folder.lexically_relative(page.parent_path()) / "";
    return {folder, reference, options.box, options.mode};
}

void CheckPage(const SheetOptions& options, const SheetSource& source,
               const std::vector<std::string>& files) {
    if (options.page.empty()) throw WrongUse("the name after --output is empty");
    if (options.page == "-") throw WrongUse("a page refers to its pictures, and so has to be a file");
    const std::optional<FileId> page = FindFile(options.page);
    const bool isPicture = page && std::any_of(files.begin(), files.end(), [&](const std::string& file) {
                               return FindFile(source.folder + file) == page;
                           });
    if (isPicture)
        throw Failure(Displayable(options.page) + " is not overwritten: it is one of the pictures");
}

SheetFigures WriteTiles(const SheetSource& source, const std::vector<std::string>& files, SheetPage& page) {
    const auto start = Clock::now();
    SheetFigures figures;
    TileMaker tiles(source, files);
    Progress progress(files.size());
    for (const std::string& file : files) {
        const Tile tile = tiles.Take();
        page.Add(file, tile);
        figures.Count(tile.kind);
        progress.Advance();
        if (tile.kind != TileKind::Failed) continue;
        progress.Clear();
        PrintError(Displayable(source.folder + file) + ": " + tile.failure);
    }
    figures.time = Clock::now() - start;
    return figures;
}

void Report(const SheetFigures& figures, const std::string& page) {
    char rate[48];
    std::snprintf(rate, sizeof rate, "%.0f per second", figures.FilesPerSecond());
    PrintLine(Counted(figures.Files(), "file") + ", " + ToText(figures.Cached()) + " from the cache, " +
              ToText(figures.Failed()) + " failed, " + ToText(figures.time) + ", " + rate);
    PrintLine("Contact sheet: " + Displayable(page));
}

}  // namespace

int RunSheet(const SheetOptions& options) {
    const auto [files, complete] = ListFolder(options.folder, options.recursive);
    const SheetSource source = DescribeSource(options);
    CheckPage(options, source, files);
    SheetPage page(options.page, source);
    const ThumbnailCache cache(options.cache);
    const SheetFigures figures = WriteTiles(source, files, page);
    page.Finish(figures);
    Report(figures, AbsolutePath(options.page));
    return ExitCodeOf(complete && figures.Failed() == 0);
}

}  // namespace Client

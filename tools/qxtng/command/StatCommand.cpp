#include "StatCommand.h"

#include <array>
#include <cstdio>

#include "CacheCheck.h"
#include "common/TNGTypes.h"
#include "files/FolderSize.h"
#include "terminal/Figures.h"
#include "terminal/JsonText.h"
#include "terminal/Messages.h"
#include "thumbnails/Thumbnail.h"

namespace Client {
namespace {

using CacheCheck::Statistics;
using CacheCheck::Tally;

struct Row {
    std::string name;
    const char* jsonName;
    Tally tally;
};

std::array<Row, 3> Types(const Statistics& counts) {
    return {{{"Pictures", "pictures", counts.pictures},
             {"Videos", "videos", counts.videos},
             {"Others", "others", counts.others}}};
}

std::array<Row, 3> Renditions(const Statistics& counts) {
    return {{{ToText(TNG_SMALL_BOX), "small", counts.small},
             {ToText(TNG_LARGE_BOX), "large", counts.large},
             {ToText(TNG_EXTRA_LARGE_BOX), "extraLarge", counts.extraLarge}}};
}

void PrintRow(const std::string& name, const std::string& number, const std::string& bytes) {
    char line[128];
    std::snprintf(line, sizeof line, "%-10s %14s %18s", name.c_str(), number.c_str(), bytes.c_str());
    PrintLine(line);
}

void PrintTable(const char* head, const std::array<Row, 3>& rows) {
    PrintRow(head, "number", "bytes");
    for (const Row& row : rows)
        PrintRow(row.name, ToText(row.tally.number), ToText(row.tally.bytes));
    PrintLine("");
}

/// How much of the data files is in use.
std::string LiveBar(const Statistics& counts) {
    constexpr std::uint64_t kWidth = 40;
    const std::uint64_t all = counts.liveBytes + counts.deadBytes;
    const std::uint64_t filled = all == 0 ? 0 : (counts.liveBytes * kWidth + all / 2) / all;
    return '[' + std::string(filled, '#') + std::string(kWidth - filled, '.') + ']';
}

void PrintText(const std::string& folder, const Statistics& counts, const FolderSize& onDisk) {
    PrintLine("Cache: " + Displayable(folder));
    PrintLine(Counted(counts.folders, "folder") + ", " + Counted(counts.live, "file") + ", " +
              BytesToText(onDisk.bytes) + " in " + Counted(onDisk.files, "file") + " on disk");
    PrintLine("");
    PrintTable("Type", Types(counts));
    PrintTable("Thumbnail", Renditions(counts));
    PrintLine(LiveBar(counts) + ' ' + BytesToText(counts.liveBytes) + " live, " +
              BytesToText(counts.deadBytes) + " dead");
    if (counts.defaultImages + counts.noThumbnails != 0) {
        PrintLine(ToText(counts.defaultImages) + " with a default image, " + ToText(counts.noThumbnails) +
                  " without a thumbnail");
    }
}

template <std::size_t N>
std::string JsonOf(const std::array<Row, N>& rows) {
    std::string text;
    for (const Row& row : rows) {
        text += text.empty() ? "{" : ",";
        text += JsonText(row.jsonName) + ":{" + JsonNumber("number", row.tally.number) + ',' +
                JsonNumber("bytes", row.tally.bytes) + '}';
    }
    return text + '}';
}

void PrintJson(const std::string& folder, const Statistics& counts, const FolderSize& onDisk) {
    PrintLine("{\"cache\":" + JsonText(folder) + ',' + JsonNumber("folders", counts.folders) + ',' +
              JsonNumber("files", counts.live) + ',' + JsonNumber("bytesOnDisk", onDisk.bytes) + ',' +
              JsonNumber("liveBytes", counts.liveBytes) + ',' + JsonNumber("deadBytes", counts.deadBytes) +
              ',' + JsonNumber("defaultImages", counts.defaultImages) + ',' +
              JsonNumber("noThumbnails", counts.noThumbnails) + ",\"types\":" + JsonOf(Types(counts)) +
              ",\"thumbnails\":" + JsonOf(Renditions(counts)) + '}');
}

CacheCheck::CacheReport ReadHeld(const std::string& folder) {
    const CacheHold hold;
    return CacheCheck::CheckCache(folder);
}

}  // namespace

int RunStat(const StatOptions& options) {
    const ThumbnailCache cache = ThumbnailCache::Existing(options.cache, ThumbnailCache::Access::Read);
    const CacheCheck::CacheReport report = ReadHeld(cache.Folder());
    const FolderSize onDisk = SizeOfFolder(cache.Folder());
    if (options.json) {
        PrintJson(cache.Folder(), report.statistics, onDisk);
    } else {
        PrintText(cache.Folder(), report.statistics, onDisk);
        if (report.errors != 0) PrintLine(Counted(report.errors, "error") + "; see qxtng check");
    }
    CheckStandardOutput(Lines::Result);
    return kExitGood;
}

}  // namespace Client

#include "CheckCommand.h"

#include "CacheCheck.h"
#include "files/SourceFile.h"
#include "terminal/Figures.h"
#include "terminal/JsonText.h"
#include "terminal/Messages.h"

namespace Client {
namespace {

using CacheCheck::CacheReport;
using CacheCheck::Finding;

const char* NameOf(CacheCheck::Severity severity) {
    return severity == CacheCheck::Severity::Error ? "error" : "warning";
}

std::string CountedOrNo(std::uint64_t count, const std::string& what) {
    return count == 0 ? "no " + what + 's' : Counted(count, what);
}

/// Like a compiler's: "1.dat:118: error: what is wrong [list-truncated]".
std::string LineOf(const Finding& finding) {
    const std::string place =
        finding.file.empty() ? "" : finding.file + ':' + std::to_string(finding.offset) + ": ";
    return Displayable(place + NameOf(finding.severity) + ": " + finding.text) + " [" +
           CacheCheck::NameOf(finding.kind) + ']';
}

void PrintText(const CacheReport& report) {
    for (const Finding& finding : report.findings)
        PrintLine(LineOf(finding));
    const std::uint64_t omitted = report.errors + report.warnings - report.findings.size();
    if (omitted != 0) PrintLine("and " + Counted(omitted, "more finding"));
    const CacheCheck::Statistics& counts = report.statistics;
    PrintLine(Counted(counts.folders, "folder") + ", " + Counted(counts.records, "record") + ": " +
              ToText(counts.live) + " live (" + ToText(counts.defaultImages) + " with default images, " +
              ToText(counts.noThumbnails) + " without thumbnails), " + ToText(counts.deleted) + " deleted");
    PrintLine(Counted(counts.liveBytes, "byte") + " of thumbnails, " + ToText(counts.deadBytes) +
              " of dead space");
    PrintLine(CountedOrNo(report.errors, "error") + ", " + CountedOrNo(report.warnings, "warning"));
}

std::string JsonOf(const Finding& finding) {
    return "{\"severity\":" + JsonText(NameOf(finding.severity)) +
           ",\"kind\":" + JsonText(CacheCheck::NameOf(finding.kind)) + ",\"file\":" + JsonText(finding.file) +
           ',' + JsonNumber("offset", finding.offset) + ",\"text\":" + JsonText(finding.text) + '}';
}

std::string JsonOf(const CacheCheck::Statistics& counts) {
    return '{' + JsonNumber("folders", counts.folders) + ',' + JsonNumber("records", counts.records) + ',' +
           JsonNumber("live", counts.live) + ',' + JsonNumber("deleted", counts.deleted) + ',' +
           JsonNumber("defaultImages", counts.defaultImages) + ',' +
           JsonNumber("noThumbnails", counts.noThumbnails) + ',' + JsonNumber("liveBytes", counts.liveBytes) +
           ',' + JsonNumber("deadBytes", counts.deadBytes) + '}';
}

void PrintJson(const std::string& folder, const CacheReport& report) {
    PrintLine("{\"folder\":" + JsonText(folder) + ',' + JsonNumber("errors", report.errors) + ',' +
              JsonNumber("warnings", report.warnings) + ",\"statistics\":" + JsonOf(report.statistics) +
              ",\"findings\":[");
    for (const Finding& finding : report.findings)
        PrintLine(JsonOf(finding) + (&finding == &report.findings.back() ? "" : ","));
    PrintLine("]}");
}

}  // namespace

int RunCheck(const CheckOptions& options) {
    RequireFolder(options.folder, "cache folder");
    const CacheReport report = CacheCheck::CheckCache(options.folder);
    if (options.json) {
        PrintJson(options.folder, report);
    } else {
        PrintText(report);
    }
    CheckStandardOutput(Lines::Result);
    return ExitCodeOf(report.errors == 0);
}

}  // namespace Client

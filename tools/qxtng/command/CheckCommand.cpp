#include "CheckCommand.h"

#include <filesystem>

#include "CacheCheck.h"
#include "terminal/JsonText.h"
#include "terminal/Messages.h"

namespace Client {
namespace {

using CacheCheck::CacheReport;
using CacheCheck::Finding;

void RequireFolder(const std::string& folder) {
    std::error_code error;
    const auto status = std::filesystem::status(folder, error);
    if (!std::filesystem::exists(status)) throw WrongUse(Displayable(folder) + " does not exist");
    if (!std::filesystem::is_directory(status)) throw WrongUse(Displayable(folder) + " is not a folder");
}

const char* NameOf(CacheCheck::Severity severity) {
    return severity == CacheCheck::Severity::Error ? "error" : "warning";
}

std::string Count(std::uint64_t count, const std::string& what) {
    return (count == 0 ? "no" : std::to_string(count)) + ' ' + what + (count == 1 ? "" : "s");
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
    if (omitted != 0) PrintLine("and " + Count(omitted, "more finding"));
    const CacheCheck::Statistics& counts = report.statistics;
    const auto text = [](std::uint64_t number) { return std::to_string(number); };
    PrintLine(Count(counts.folders, "folder") + ", " + Count(counts.records, "record") + ": " +
              text(counts.live) + " live (" + text(counts.defaultImages) + " with default images, " +
              text(counts.noThumbnails) + " without thumbnails), " + text(counts.deleted) + " deleted");
    PrintLine(text(counts.liveBytes) + " bytes of thumbnails, " + text(counts.deadBytes) + " of dead space");
    PrintLine(Count(report.errors, "error") + ", " + Count(report.warnings, "warning"));
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
    RequireFolder(options.folder);
    const CacheReport report = CacheCheck::CheckCache(options.folder);
    if (options.json) {
        PrintJson(options.folder, report);
    } else {
        PrintText(report);
    }
    return ExitCodeOf(report.errors == 0);
}

}  // namespace Client

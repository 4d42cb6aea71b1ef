#include "CommonOptions.h"

#include <charconv>
#include <string_view>

namespace Client {
namespace {

constexpr std::uint32_t kMaxSide = 32767;

std::uint32_t ParseSide(std::string_view text, const std::string& whole) {
    std::uint32_t side = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), side);
    if (error == std::errc() && end == text.data() + text.size() && side >= 1 && side <= kMaxSide)
        return side;
    throw CLI::ValidationError("size '" + whole + "' is neither N nor WxH with numbers from 1 to 32767");
}

TNGSize ParseBox(const std::string& text) {
    const std::size_t cross = text.find_first_of("xX");
    const std::uint32_t width = ParseSide(std::string_view(text).substr(0, cross), text);
    if (cross == std::string::npos) return {width, width};
    return {width, ParseSide(std::string_view(text).substr(cross + 1), text)};
}

}  // namespace

void AddLogOption(CLI::App& app, LogDetail& log) {
    AddChoice<LogDetail>(app, "--log", "LEVEL", log,
                         {{"error", LogDetail::Error}, {"info", LogDetail::Info}, {"all", LogDetail::All}},
                         "Print the library's log to standard error");
}

void AddThumbnailOptions(CLI::App& app, TNGSize& box, TNGSourceMode& mode) {
    app.add_option_function<std::string>(
           "-s,--size", [&box](const std::string& text) { box = ParseBox(text); },
           "Box that the thumbnail fits into, N or WxH in pixels (160)")
        ->type_name("SIZE");
    AddChoice<TNGSourceMode>(app, "-m,--mode", "MODE", mode,
                             {{"embedded", TNG_SOURCE_EMBEDDED_OR_DECODE},
                              {"filled", TNG_SOURCE_EMBEDDED_FILLED_OR_DECODE},
                              {"decode", TNG_SOURCE_DECODE_ONLY}},
                             "embedded: the picture's own thumbnail if it has one\n"
                             "filled: the same if it fills the box (default)\n"
                             "decode: always the picture itself");
}

void AddCacheFolderOption(CLI::App& app, CacheOptions& cache) {
    app.add_option("--cache", cache.folder,
                   "Keep thumbnails in this folder for the next time\n"
                   "(qxtng in $XDG_CACHE_HOME or ~/.cache)")
        ->type_name("FOLDER");
}

void AddCacheOptions(CLI::App& app, CacheOptions& cache) {
    AddCacheFolderOption(app, cache);
    app.add_flag("--no-cache", cache.disabled, "Keep none, and use none that were kept");
}

void AddJobsOption(CLI::App& app, std::size_t& workers) {
    app.add_option("-j,--jobs", workers, "Files at a time, 1 to 256 (one a processor)")
        ->check(CLI::Range(1, 256).description(""))
        ->type_name("N");
}

void AddRecursiveFlag(CLI::App& app, bool& recursive) {
    app.add_flag("-r,--recursive", recursive, "Sub-folders too; links to folders are not followed");
}

}  // namespace Client

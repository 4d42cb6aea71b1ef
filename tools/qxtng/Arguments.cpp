#include "Arguments.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <charconv>
#include <map>
#include <string_view>

#include "Messages.h"

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

template <typename Choice>
void AddChoice(CLI::App& app, const std::string& names, const std::string& typeName, Choice& choice,
               const std::map<std::string, Choice>& choices, const std::string& description) {
    app.add_option_function<std::string>(
           names, [&choice, choices](const std::string& text) { choice = choices.at(text); }, description)
        ->check(CLI::IsMember(choices))
        ->type_name(typeName);
}

void AddLogOption(CLI::App& app, LogDetail& log) {
    AddChoice<LogDetail>(app, "--log", "LEVEL", log,
                         {{"error", LogDetail::Error}, {"info", LogDetail::Info}, {"all", LogDetail::All}},
                         "Print the library's log to standard error");
}

/// The options that say what a thumbnail is to be.
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

CLI::App* AddThumb(CLI::App& app, Arguments& arguments) {
    CLI::App* thumb = app.add_subcommand("thumb", "Make thumbnails of files");
    ThumbOptions& options = arguments.thumb;
    AddThumbnailOptions(*thumb, options.box, options.mode);
    thumb
        ->add_option("-o,--output", options.output,
                     "FILE.jpg for a JPEG, any other file for a PNG,\n"
                     "FOLDER/ for files named after the pictures, - for standard output")
        ->required()
        ->type_name("OUT");
    thumb->add_option("FILE", options.files, "The pictures")->required()->type_name("");
    AddCacheOptions(*thumb, options.cache);
    AddLogOption(*thumb, arguments.log);
    return thumb;
}

/// The folder whose pictures a command is for.
void AddFolder(CLI::App& app, std::string& folder, bool& recursive) {
    app.add_option("FOLDER", folder, "The folder with the pictures")->required()->type_name("");
    app.add_flag("-r,--recursive", recursive, "Sub-folders too; links to folders are not followed");
}

CLI::App* AddSheet(CLI::App& app, Arguments& arguments) {
    CLI::App* sheet = app.add_subcommand("sheet", "Write a contact sheet of a folder, one HTML page");
    SheetOptions& options = arguments.sheet;
    AddFolder(*sheet, options.folder, options.recursive);
    AddThumbnailOptions(*sheet, options.box, options.mode);
    sheet->add_option("-o,--output", options.page, "The page (contact-sheet.html)")->type_name("PAGE");
    AddCacheOptions(*sheet, options.cache);
    AddLogOption(*sheet, arguments.log);
    return sheet;
}

CLI::App* AddWarm(CLI::App& app, Arguments& arguments) {
    CLI::App* warm = app.add_subcommand("warm", "Fill the cache with the thumbnails of a folder");
    WarmOptions& options = arguments.warm;
    AddFolder(*warm, options.folder, options.recursive);
    warm->add_option("-j,--jobs", options.workers, "Files at a time, 1 to 256 (one a processor)")
        ->check(CLI::Range(1, 256).description(""))
        ->type_name("N");
    AddCacheFolderOption(*warm, options.cache);
    warm->footer(
        "What the cache has and is up to date is left alone. Ctrl-C ends it with 130; the next run goes on\n"
        "where this one ended.");
    AddLogOption(*warm, arguments.log);
    return warm;
}

CLI::App* AddInfo(CLI::App& app, Arguments& arguments) {
    CLI::App* info = app.add_subcommand("info", "Tell what the cache has of files");
    InfoOptions& options = arguments.info;
    info->add_option("FILE", options.files, "The pictures")->required()->type_name("");
    info->add_flag("--json", options.json, "Print one JSON object");
    AddCacheOptions(*info, options.cache);
    info->footer(
        "A thumbnail of 160 pixels is asked for, too: \"now\" tells where it comes from, and the cache\n"
        "may keep it.");
    AddLogOption(*info, arguments.log);
    return info;
}

CLI::App* AddCheck(CLI::App& app, Arguments& arguments) {
    CLI::App* check = app.add_subcommand("check", "Check the files of a thumbnail cache; changes nothing");
    CheckOptions& options = arguments.check;
    check->add_option("CACHE_FOLDER", options.folder, "The folder with DirectoryMap.dat")
        ->required()
        ->type_name("");
    check->add_flag("--json", options.json, "Print one JSON object");
    check->footer(
        "An error is what loses data or gives wrong data, a warning what is dead weight.\n"
        "Ends with 0 if there are no errors, whatever the warnings; with 1 if there are any.\n"
        "No program should be using the cache meanwhile.");
    return check;
}

/// The arguments as the parser wants them, last one first. It takes text in brackets as a list, and after
/// "--" it hands over to the command line as a whole; behind "./" both are file names like any other.
std::vector<std::string> CollectArguments(int argc, const char* const* argv) {
    std::vector<std::string> arguments;
    bool onlyNames = false;
    for (int i = 1; i < argc; ++i) {
        const std::string text = argv[i];
        const bool looksSpecial = text.starts_with('[') || text.starts_with('{') || text.starts_with('-');
        if (text == "--" && !onlyNames) {
            onlyNames = true;
        } else {
            arguments.push_back(looksSpecial && (onlyNames || text[0] != '-') ? "./" + text : text);
        }
    }
    std::reverse(arguments.begin(), arguments.end());
    return arguments;
}

int ReportParseError(CLI::App& app, const CLI::ParseError& error) {
    if (error.get_exit_code() == 0) return app.exit(error);
    const bool lacksCommand =
        dynamic_cast<const CLI::RequiredError*>(&error) && app.get_subcommands().empty();
    PrintError(
        (lacksCommand ? "the command must be check, info, thumb, sheet or warm" : Displayable(error.what())) +
        "; see qxtng --help");
    return kExitWrongUse;
}

}  // namespace

Arguments ParseArguments(int argc, const char* const* argv) {
    Arguments arguments;
    CLI::App app("Thumbnails of pictures, one by one or as a contact sheet.", "qxtng");
    app.set_version_flag("--version", "qxtng " QXTNG_VERSION, "Print the version and exit");
    app.require_subcommand(1);
    AddLogOption(app, arguments.log);
    const CLI::App* thumb = AddThumb(app, arguments);
    const CLI::App* sheet = AddSheet(app, arguments);
    const CLI::App* warm = AddWarm(app, arguments);
    const CLI::App* info = AddInfo(app, arguments);
    AddCheck(app, arguments);
    try {
        app.parse(CollectArguments(argc, argv));
        arguments.command = thumb->parsed()   ? Command::Thumb
                            : sheet->parsed() ? Command::Sheet
                            : warm->parsed()  ? Command::Warm
                            : info->parsed()  ? Command::Info
                                              : Command::Check;
    } catch (const CLI::ParseError& error) {
        arguments.exitCode = ReportParseError(app, error);
    }
    return arguments;
}

}  // namespace Client

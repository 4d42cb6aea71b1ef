#include "Arguments.h"

#include <algorithm>
#include <sstream>
#include <string>
#include <vector>

#include "Commands.h"
#include "CommonOptions.h"
#include "terminal/Messages.h"

namespace Client {
namespace {

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
    if (error.get_exit_code() == 0) {
        std::ostringstream text;
        app.exit(error, text);
        PrintLine(std::string_view(text.view()).substr(0, text.view().find_last_not_of('\n') + 1));
        CheckStandardOutput(Lines::Result);
        return kExitGood;
    }
    const bool lacksCommand =
        dynamic_cast<const CLI::RequiredError*>(&error) && app.get_subcommands().empty();
    PrintError((lacksCommand ? "the first word must be a command" : Displayable(error.what())) +
               "; see qxtng --help");
    return kExitWrongUse;
}

}  // namespace

Arguments ParseArguments(int argc, const char* const* argv) {
    Arguments arguments;
    CLI::App app("Thumbnails of pictures, one by one or as a contact sheet, and the cache they are kept in.",
                 "qxtng");
    app.set_version_flag("--version", "qxtng " QXTNG_VERSION, "Print the version and exit");
    app.require_subcommand(1);
    AddLogOption(app, arguments.log);
    AddPictureCommands(app, arguments);
    AddCacheCommands(app, arguments);
    try {
        app.parse(CollectArguments(argc, argv));
    } catch (const CLI::ParseError& error) {
        arguments.exitCode = ReportParseError(app, error);
    }
    return arguments;
}

}  // namespace Client

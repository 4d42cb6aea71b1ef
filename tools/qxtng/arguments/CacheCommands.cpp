#include "Commands.h"
#include "CommonOptions.h"
#include "command/CheckCommand.h"
#include "command/ClearCommand.h"
#include "command/ForgetCommand.h"
#include "command/MoveCommand.h"
#include "command/StatCommand.h"
#include "command/UpdateCommand.h"

namespace Client {
namespace {

void AddUpdate(CLI::App& app, Arguments& arguments) {
    const auto [update, options] = AddCommand(
        app, arguments, "update", "Bring the cache up to date with files that have changed", RunUpdate);
    update->add_option("PATH", options->paths, "Files and folders of files (nothing: all of the cache)")
        ->type_name("");
    AddRecursiveFlag(*update, options->recursive);
    AddJobsOption(*update, options->workers);
    AddCacheFolderOption(*update, options->cache);
    update->footer(
        "Thumbnails of changed files are made anew, entries of files that are gone are removed: also those\n"
        "of a disk that is not there at the moment. Ctrl-C ends it with 130; nothing is removed then.");
    AddLogOption(*update, arguments.log);
}

void AddForget(CLI::App& app, Arguments& arguments) {
    const auto [forget, options] =
        AddCommand(app, arguments, "forget", "Remove files and folders of files from the cache", RunForget);
    forget->add_option("PATH", options->paths, "They need not exist any more")->required()->type_name("");
    AddRecursiveFlag(*forget, options->recursive);
    AddCacheFolderOption(*forget, options->cache);
    AddLogOption(*forget, arguments.log);
}

void AddMove(CLI::App& app, Arguments& arguments) {
    const auto [move, options] = AddCommand(app, arguments, "move", "Move the cache elsewhere", RunMove);
    move->add_option("NEW_CACHE_FOLDER", options->newFolder, "Made if it is missing; without a cache yet")
        ->required()
        ->type_name("");
    AddCacheFolderOption(*move, options->cache);
    move->footer("From then on --cache has to name the new folder.");
    AddLogOption(*move, arguments.log);
}

void AddClear(CLI::App& app, Arguments& arguments) {
    const auto [clear, options] =
        AddCommand(app, arguments, "clear", "Remove everything from the cache", RunClear);
    AddCacheFolderOption(*clear, options->cache);
    AddLogOption(*clear, arguments.log);
}

void AddStat(CLI::App& app, Arguments& arguments) {
    const auto [stat, options] =
        AddCommand(app, arguments, "stat", "Tell how much is in the cache, and of what", RunStat);
    stat->add_flag("--json", options->json, "Print one JSON object");
    AddCacheFolderOption(*stat, options->cache);
    AddLogOption(*stat, arguments.log);
}

void AddCheck(CLI::App& app, Arguments& arguments) {
    const auto [check, options] = AddCommand(
        app, arguments, "check", "Check the files of a thumbnail cache; changes nothing", RunCheck);
    check->add_option("CACHE_FOLDER", options->folder, "The folder with DirectoryMap.dat")
        ->required()
        ->type_name("");
    check->add_flag("--json", options->json, "Print one JSON object");
    check->footer(
        "An error is what loses data or gives wrong data, a warning what is dead weight.\n"
        "Ends with 0 if there are no errors, whatever the warnings; with 1 if there are any.\n"
        "No program should be using the cache meanwhile.");
}

}  // namespace

void AddCacheCommands(CLI::App& app, Arguments& arguments) {
    AddUpdate(app, arguments);
    AddForget(app, arguments);
    AddMove(app, arguments);
    AddClear(app, arguments);
    AddStat(app, arguments);
    AddCheck(app, arguments);
}

}  // namespace Client

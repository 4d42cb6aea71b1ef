#include "Commands.h"
#include "CommonOptions.h"
#include "command/InfoCommand.h"
#include "command/SheetCommand.h"
#include "command/ThumbCommand.h"
#include "command/WarmCommand.h"

namespace Client {
namespace {

/// The folder whose pictures a command is for.
void AddFolder(CLI::App& app, std::string& folder, bool& recursive) {
    app.add_option("FOLDER", folder, "The folder with the pictures")->required()->type_name("");
    AddRecursiveFlag(app, recursive);
}

void AddThumb(CLI::App& app, Arguments& arguments) {
    const auto [thumb, options] = AddCommand(app, arguments, "thumb", "Make thumbnails of files", RunThumb);
    AddThumbnailOptions(*thumb, options->box, options->mode);
    thumb
        ->add_option("-o,--output", options->output,
                     "FILE.jpg for a JPEG, any other file for a PNG,\n"
                     "FOLDER/ for files named after the pictures, - for standard output")
        ->required()
        ->type_name("OUT");
    thumb->add_option("FILE", options->files, "The pictures")->required()->type_name("");
    AddCacheOptions(*thumb, options->cache);
    AddLogOption(*thumb, arguments.log);
}

void AddSheet(CLI::App& app, Arguments& arguments) {
    const auto [sheet, options] =
        AddCommand(app, arguments, "sheet", "Write a contact sheet of a folder, one HTML page", RunSheet);
    AddFolder(*sheet, options->folder, options->recursive);
    AddThumbnailOptions(*sheet, options->box, options->mode);
    sheet->add_option("-o,--output", options->page, "The page (contact-sheet.html)")->type_name("PAGE");
    AddCacheOptions(*sheet, options->cache);
    AddLogOption(*sheet, arguments.log);
}

void AddWarm(CLI::App& app, Arguments& arguments) {
    const auto [warm, options] =
        AddCommand(app, arguments, "warm", "Fill the cache with the thumbnails of a folder", RunWarm);
    AddFolder(*warm, options->folder, options->recursive);
    AddJobsOption(*warm, options->workers);
    AddCacheFolderOption(*warm, options->cache);
    warm->footer(
        "What the cache has and is up to date is left alone. Ctrl-C ends it with 130; the next run goes on\n"
        "where this one ended.");
    AddLogOption(*warm, arguments.log);
}

void AddInfo(CLI::App& app, Arguments& arguments) {
    const auto [info, options] =
        AddCommand(app, arguments, "info", "Tell what the cache has of files", RunInfo);
    info->add_option("FILE", options->files, "The pictures")->required()->type_name("");
    info->add_flag("--json", options->json, "Print one JSON object");
    AddCacheOptions(*info, options->cache);
    info->footer(
        "A thumbnail of 160 pixels is asked for, too: \"now\" tells where it comes from, and the cache\n"
        "may keep it.");
    AddLogOption(*info, arguments.log);
}

}  // namespace

void AddPictureCommands(CLI::App& app, Arguments& arguments) {
    AddThumb(app, arguments);
    AddSheet(app, arguments);
    AddWarm(app, arguments);
    AddInfo(app, arguments);
}

}  // namespace Client

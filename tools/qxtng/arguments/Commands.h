#pragma once

#include <CLI/CLI.hpp>

#include "Arguments.h"

namespace Client {

/// Add the commands to the parser, each with what runs it once it has been chosen.
void AddPictureCommands(CLI::App& app, Arguments& arguments);
void AddCacheCommands(CLI::App& app, Arguments& arguments);

/// Adds a command whose options are filled in by the parser and handed to `run`, which answers an exit code.
/// Returns the command and its options, for what is to be filled in.
template <typename Options>
std::pair<CLI::App*, Options*> AddCommand(CLI::App& app, Arguments& arguments, const std::string& name,
                                          const std::string& description, int (*run)(const Options&)) {
    CLI::App* command = app.add_subcommand(name, description);
    const auto options = std::make_shared<Options>();
    command->callback(
        [&arguments, options, run] { arguments.run = [options, run] { return run(*options); }; });
    return {command, options.get()};
}

}  // namespace Client

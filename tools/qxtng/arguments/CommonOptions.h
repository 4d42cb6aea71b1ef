#pragma once

#include <CLI/CLI.hpp>
#include <map>
#include <string>

#include "common/TNGTypes.h"
#include "terminal/LogOutput.h"
#include "thumbnails/ThumbnailCache.h"

/// Options that several commands have.
namespace Client {

template <typename Choice>
void AddChoice(CLI::App& app, const std::string& names, const std::string& typeName, Choice& choice,
               const std::map<std::string, Choice>& choices, const std::string& description) {
    app.add_option_function<std::string>(
           names, [&choice, choices](const std::string& text) { choice = choices.at(text); }, description)
        ->check(CLI::IsMember(choices))
        ->type_name(typeName);
}

void AddLogOption(CLI::App& app, LogDetail& log);

/// What a thumbnail is to be.
void AddThumbnailOptions(CLI::App& app, TNGSize& box, TNGSourceMode& mode);

/// Which cache. The second one is for commands that can do without.
void AddCacheFolderOption(CLI::App& app, CacheOptions& cache);
void AddCacheOptions(CLI::App& app, CacheOptions& cache);

/// How many files at a time; 0 for one a processor.
void AddJobsOption(CLI::App& app, std::size_t& workers);

void AddRecursiveFlag(CLI::App& app, bool& recursive);

}  // namespace Client

#pragma once

#include <optional>
#include <string>
#include <vector>

#include "common/TNGTypes.h"

namespace Client {

enum class Command { None, Thumb, Sheet, Warm, Info, Check };
enum class LogDetail { None, Error, Info, All };

struct CacheOptions {
    std::optional<std::string> folder;  // none: the default
    bool disabled = false;
};

struct ThumbOptions {
    TNGSize box = TNG_LARGE_BOX;
    TNGSourceMode mode = TNG_SOURCE_EMBEDDED_FILLED_OR_DECODE;
    std::string output;
    std::vector<std::string> files;
    CacheOptions cache;
};

struct SheetOptions {
    TNGSize box = TNG_LARGE_BOX;
    TNGSourceMode mode = TNG_SOURCE_EMBEDDED_FILLED_OR_DECODE;
    std::string page = "contact-sheet.html";
    std::string folder;
    bool recursive = false;
    CacheOptions cache;
};

struct WarmOptions {
    std::string folder;
    bool recursive = false;
    std::size_t workers = 0;  // 0: as many as there are processors
    CacheOptions cache;
};

struct InfoOptions {
    std::vector<std::string> files;
    bool json = false;
    CacheOptions cache;
};

struct CheckOptions {
    std::string folder;
    bool json = false;
};

/// The command line. With Command::None there is nothing left to do but to end with `exitCode`: help was
/// shown, or what is wrong.
struct Arguments {
    Command command = Command::None;
    int exitCode = 0;
    LogDetail log = LogDetail::None;
    ThumbOptions thumb;
    SheetOptions sheet;
    WarmOptions warm;
    InfoOptions info;
    CheckOptions check;
};

Arguments ParseArguments(int argc, const char* const* argv);

}  // namespace Client

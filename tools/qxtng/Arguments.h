#pragma once

#include <string>
#include <vector>

#include "common/TNGTypes.h"

namespace Client {

enum class Command { None, Thumb, Sheet, Check };
enum class LogDetail { None, Error, Info, All };

struct ThumbOptions {
    TNGSize box = TNG_LARGE_BOX;
    TNGSourceMode mode = TNG_SOURCE_EMBEDDED_FILLED_OR_DECODE;
    std::string output;
    std::vector<std::string> files;
};

struct SheetOptions {
    TNGSize box = TNG_LARGE_BOX;
    TNGSourceMode mode = TNG_SOURCE_EMBEDDED_FILLED_OR_DECODE;
    std::string page = "contact-sheet.html";
    std::string folder;
    bool recursive = false;
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
    CheckOptions check;
};

Arguments ParseArguments(int argc, const char* const* argv);

}  // namespace Client

#pragma once

#include <functional>

#include "terminal/LogOutput.h"

namespace Client {

/// The command line.
struct Arguments {
    /// Runs the command that was chosen and answers the exit code. Empty if there is nothing left to do but
    /// to end with `exitCode`: help was shown, or what is wrong.
    std::function<int()> run;
    int exitCode = 0;
    LogDetail log = LogDetail::None;
};

Arguments ParseArguments(int argc, const char* const* argv);

}  // namespace Client

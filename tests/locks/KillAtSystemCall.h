#pragma once

#include <string>
#include <vector>

namespace TestSupport {

/// Runs a program, which stops itself with SIGSTOP, and from there on kills it as it enters its nth system
/// call. False if it ended before, which it has to do with success.
bool KillAtSystemCall(int n, const std::string& program, std::vector<std::string> arguments);

}  // namespace TestSupport

#pragma once

#include <string>

namespace Client {

struct CheckOptions {
    std::string folder;
    bool json = false;
};

/// Checks the files of a cache folder and reports what is wrong with them. kExitFailed if there are errors;
/// warnings alone are good. Throws WrongUse if there is no such folder.
int RunCheck(const CheckOptions& options);

}  // namespace Client

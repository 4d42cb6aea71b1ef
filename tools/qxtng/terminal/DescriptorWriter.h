#pragma once

#include <string_view>

namespace Client {

/// Writes all of `bytes`. 0, or the errno value of the failure.
int WriteAll(int descriptor, std::string_view bytes);

}  // namespace Client

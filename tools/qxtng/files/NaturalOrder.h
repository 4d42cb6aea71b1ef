#pragma once

#include <string_view>

namespace Client {

/// Orders paths as people do: numbers by their value, so that "2" is before "10", letters without regard to
/// case, and the files of a folder before its sub-folders. A strict order: only equal paths are equal.
bool NaturalLess(std::string_view first, std::string_view second);

}  // namespace Client

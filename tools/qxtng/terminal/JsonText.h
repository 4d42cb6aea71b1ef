#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace Client {

/// A string as JSON has it. Bytes that are not UTF-8 cannot stand in it: they become replacement characters.
std::string JsonText(std::string_view bytes);

/// "name":number.
std::string JsonNumber(std::string_view name, std::uint64_t number);

}  // namespace Client

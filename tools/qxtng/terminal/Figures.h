#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>

/// Numbers as people read them.
namespace Client {

/// "12,345".
std::string ToText(std::size_t number);

/// "0.42 s" or "3 min 20 s".
std::string ToText(std::chrono::duration<double> time);

/// "1 byte", "999 bytes", "4.8 MB" of 10^6 bytes.
std::string BytesToText(std::uint64_t bytes);

/// "1 folder", "2 folders".
std::string Counted(std::size_t number, const std::string& what);

}  // namespace Client

#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace Bench {

using Bytes = std::vector<std::uint8_t>;

Bytes ReadWholeFile(const std::filesystem::path& path);

/// What a file is, by its content.
enum class FileKind { Jpeg, Png, Webp, Gif, Tiff, Bmp, Other };

FileKind KindOf(const Bytes& file);

/// Ends the program with a message if a condition that the measurement rests on does not hold.
void Require(bool bCondition, const std::string& message);

}  // namespace Bench

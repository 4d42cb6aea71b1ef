#include "Bytes.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string_view>

namespace Bench {

Bytes ReadWholeFile(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    Require(file.good(), "cannot read " + path.string());
    return Bytes(std::istreambuf_iterator<char>(file), {});
}

FileKind KindOf(const Bytes& file) {
    const std::string_view text(reinterpret_cast<const char*>(file.data()), file.size());
    if (text.starts_with("\xFF\xD8\xFF")) return FileKind::Jpeg;
    if (text.starts_with("\x89PNG")) return FileKind::Png;
    if (text.starts_with("GIF8")) return FileKind::Gif;
    if (text.starts_with("II*") || text.starts_with("MM")) return FileKind::Tiff;
    if (text.starts_with("BM")) return FileKind::Bmp;
    if (text.starts_with("RIFF") && text.substr(0, 12).ends_with("WEBP")) return FileKind::Webp;
    return FileKind::Other;
}

void Require(bool bCondition, const std::string& message) {
    if (bCondition) return;
    std::fprintf(stderr, "%s\n", message.c_str());
    std::exit(1);
}

}  // namespace Bench

#include "Findings.h"

#include <iterator>

#include "platform/Text.h"

namespace CacheCheck {

std::string Quoted(std::u16string_view path) {
    constexpr std::size_t kMaxUnits = 1024;
    const std::string_view more = path.size() > kMaxUnits ? "..." : "";
    return '"' + Platform::PathToBytes(path.substr(0, kMaxUnits)).append(more) + '"';
}

const char* NameOf(FindingKind kind) {
    static constexpr const char* kNames[] = {
        "folder-unreadable",    "index-missing",       "index-unreadable",    "index-short",
        "index-count-negative", "index-count-high",    "index-count-low",     "index-truncated",
        "index-version",        "index-length",        "index-trailing",      "folder-duplicate",
        "folder-names",         "folder-number-range", "folder-number-twice", "list-missing",
        "list-unreadable",      "list-short",          "list-count-negative", "list-count-high",
        "list-count-low",       "list-truncated",      "list-version",        "list-length",
        "list-trailing",        "record-folder",       "record-data-file",    "record-mark",
        "record-duplicate",     "block-layout",        "data-missing",        "data-unreadable",
        "data-too-large",       "block-outside",       "block-trailer",       "block-overlap",
        "orphan-list",          "orphan-data",         "temporary-file",      "unknown-file",
        "date-time-size",
    };
    static_assert(std::size(kNames) == static_cast<std::size_t>(FindingKind::DateTimeSize) + 1);
    return kNames[static_cast<std::size_t>(kind)];
}

}  // namespace CacheCheck

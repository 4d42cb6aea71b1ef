#include "TNGFields.h"

#include <algorithm>

bool ReadText(std::FILE* pFile, std::u16string& text) {
    // Up to here memory is taken on the word of the length; above, the file has to hold that much.
    constexpr std::int32_t kTrustedUnits = 4096;
    std::int32_t units = 0;
    ReadField(pFile, units);
    if (units < 0) return false;
    if (units > TNG_MAX_TEXT_UNITS) throw TNGTextTooLong();
    std::int64_t expected = units;
    if (units > kTrustedUnits)
        expected =
            std::min(expected, Platform::BytesLeft(pFile) / static_cast<std::int64_t>(sizeof(char16_t)));
    text.resize(static_cast<std::size_t>(expected));
    text.resize(Platform::_fread_nolock(text.data(), sizeof(char16_t), text.size(), pFile));
    text.resize(std::min(text.find(u'\0'), text.size()));
    return true;
}

void WriteText(std::FILE* pFile, const std::u16string& text) {
    WriteField(pFile, static_cast<std::int32_t>(text.size()));
    Platform::_fwrite_nolock(text.data(), sizeof(char16_t), text.size(), pFile);
}

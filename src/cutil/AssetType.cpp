#include "AssetType.h"

#include <algorithm>
#include <string_view>

namespace QxzCUtil {
namespace {

enum : std::uint32_t { kUnknown = 0, kImage = 1, kAudio = 2, kVideo = 3 };

struct Extension {
    std::u16string_view text;  // lower case
    std::uint32_t type;
};

constexpr Extension kExtensions[] = {
    {u"bmp", kImage},  {u"dib", kImage},  {u"gif", kImage},  {u"jfif", kImage}, {u"jpe", kImage},
    {u"jpeg", kImage}, {u"jpg", kImage},  {u"png", kImage},  {u"tif", kImage},  {u"tiff", kImage},
    {u"webp", kImage}, {u"aac", kAudio},  {u"ac3", kAudio},  {u"aif", kAudio},  {u"aiff", kAudio},
    {u"amr", kAudio},  {u"ape", kAudio},  {u"flac", kAudio}, {u"m4a", kAudio},  {u"mid", kAudio},
    {u"midi", kAudio}, {u"mka", kAudio},  {u"mp2", kAudio},  {u"mp3", kAudio},  {u"oga", kAudio},
    {u"ogg", kAudio},  {u"opus", kAudio}, {u"wav", kAudio},  {u"wma", kAudio},  {u"wv", kAudio},
    {u"3g2", kVideo},  {u"3gp", kVideo},  {u"asf", kVideo},  {u"avi", kVideo},  {u"flv", kVideo},
    {u"m2ts", kVideo}, {u"m4v", kVideo},  {u"mkv", kVideo},  {u"mov", kVideo},  {u"mp4", kVideo},
    {u"mpeg", kVideo}, {u"mpg", kVideo},  {u"mts", kVideo},  {u"ogv", kVideo},  {u"ts", kVideo},
    {u"vob", kVideo},  {u"webm", kVideo}, {u"wmv", kVideo},
};

char16_t ToLower(char16_t c) {
    return c >= u'A' && c <= u'Z' ? static_cast<char16_t>(c + (u'a' - u'A')) : c;
}

bool EqualIgnoringCase(std::u16string_view a, std::u16string_view lower) {
    return std::equal(a.begin(), a.end(), lower.begin(), lower.end(),
                      [](char16_t x, char16_t y) { return ToLower(x) == y; });
}

}  // namespace

std::uint32_t GetAssetType(const char16_t* pszFilePath) {
    const std::u16string_view path(pszFilePath);
    const std::size_t nameStart = path.rfind(u'/') + 1;
    const std::size_t dot = path.rfind(u'.');
    if (dot == std::u16string_view::npos || dot < nameStart) return kUnknown;
    const std::u16string_view extension = path.substr(dot + 1);
    for (const Extension& known : kExtensions) {
        if (EqualIgnoringCase(extension, known.text)) return known.type;
    }
    return kUnknown;
}

}  // namespace QxzCUtil

#include "platform/Text.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

namespace {

using Platform::PathFromBytes;
using Platform::PathToBytes;

TEST(Text, TurnsPathsIntoBytesAndBack) {
    const struct {
        std::string bytes;
        std::u16string text;
    } cases[] = {
        {"", u""},
        {"/a b/~%*?.jpg", u"/a b/~%*?.jpg"},
        {"\x7F\xC2\x80\xDF\xBF", u"\x7F\x80\u07FF"},
        {"\xE0\xA0\x80\xED\x9F\xBF\xEE\x80\x80\xEF\xBF\xBF", u"\u0800\uD7FF\uE000\uFFFF"},
        {"\xF0\x90\x80\x80\xF4\x8F\xBF\xBF", u"\U00010000\U0010FFFF"},
        {"\xC0\xAF", u"\xDCC0\xDCAF"},                      // overlong
        {"\xE0\x9F\xBF", u"\xDCE0\xDC9F\xDCBF"},            // overlong
        {"\xF0\x8F\xBF\xBF", u"\xDCF0\xDC8F\xDCBF\xDCBF"},  // overlong
        {"\xED\xA0\x80", u"\xDCED\xDCA0\xDC80"},            // a surrogate
        {"\xF4\x90\x80\x80", u"\xDCF4\xDC90\xDC80\xDC80"},  // beyond the last character
        {"\xF5\x80\x80\x80", u"\xDCF5\xDC80\xDC80\xDC80"},  // no lead byte
        {"\x80x\xBF", u"\xDC80x\xDCBF"},                    // no lead byte
        {"\xC3", u"\xDCC3"},                                // cut off
        {"\xE2\x82(", u"\xDCE2\xDC82("},                    // cut off
        {"\xF0\x9F\x98", u"\xDCF0\xDC9F\xDC98"},            // cut off
        {"\xC3\xC3\xA4", u"\xDCC3\u00E4"},                  // the second one is sound
        {std::string("a\0b", 3), std::u16string(u"a\0b", 3)},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(PathFromBytes(c.bytes), c.text);
        EXPECT_EQ(PathToBytes(c.text), c.bytes);
    }
}

TEST(Text, EveryNameSurvives) {
    std::mt19937 random(1);
    for (int i = 0; i < 0x10000 + 20'000; ++i) {
        std::string bytes = {static_cast<char>(i >> 8), static_cast<char>(i)};
        if (i >= 0x10000) {
            // Lead and continuation bytes, mostly.
            bytes.resize(1 + random() % 9);
            for (char& byte : bytes)
                byte = static_cast<char>(random() % 4 == 0 ? random() : 0x80 | random() % 0x78);
        }
        ASSERT_EQ(PathToBytes(PathFromBytes(bytes)), bytes);
    }
}

// No file has such a name, so all that counts is that two texts never become one name.
TEST(Text, OtherLoneSurrogatesStayApart) {
    EXPECT_EQ(PathToBytes(u"\xD800"), "\xED\xA0\x80");
    EXPECT_EQ(PathToBytes(u"\xDC7F!"), "\xED\xB1\xBF!");
    EXPECT_EQ(PathToBytes(u"\xDBFFx\xDD00"), "\xED\xAF\xBFx\xED\xB4\x80");
}

}  // namespace

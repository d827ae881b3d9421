// UTF-8 <-> UTF-16 for the host's fixed-size name arrays.
#include "Host/Utf16Text.hpp"

#include <gtest/gtest.h>

namespace Velmora::Host {
namespace {

TEST(Utf16TextTest, ConvertsEveryEncodedLengthBothWays) {
    // One row per UTF-8 length: a wrong shift or mask in any branch changes the units.
    struct Case {
        char const* utf8;
        std::u16string utf16;
    };
    Case const cases[] = {
        {"A", u"A"},
        {"\xC3\xA9", u"\u00E9"},                 // e acute, two bytes
        {"\xE2\x82\xAC", u"\u20AC"},             // euro sign, three bytes
        {"\xF0\x9F\x8F\xA0", u"\U0001F3E0"},     // house, four bytes: a surrogate pair
        {"Caf\xC3\xA9 100%", u"Caf\u00E9 100%"}, // mixed text with a percent sign
    };
    for (Case const& c : cases) {
        EXPECT_EQ(Utf16FromUtf8(c.utf8, 256), c.utf16) << c.utf8;
        EXPECT_EQ(Utf8FromUtf16(c.utf16), c.utf8) << c.utf8;
    }
}

TEST(Utf16TextTest, TruncatesAtTheUnitLimitWithoutSplittingAPair) {
    // A limit that falls inside a pair must drop the whole pair, or the host's array would end
    // in a lone high surrogate.
    EXPECT_EQ(Utf16FromUtf8("ab\xF0\x9F\x8F\xA0", 3), u"ab");
    EXPECT_EQ(Utf16FromUtf8("ab\xF0\x9F\x8F\xA0", 4), u"ab\U0001F3E0");
    EXPECT_EQ(Utf16FromUtf8("abc", 0), u"");
}

TEST(Utf16TextTest, MalformedInputBecomesReplacementCharacters) {
    // Each row is a decoder fault that would otherwise produce a wrong or out-of-range unit.
    struct Case {
        std::string utf8;
        std::u16string utf16;
    };
    Case const cases[] = {
        {"\x80", u"\uFFFD"},                               // lone continuation byte
        {"\xC3", u"\uFFFD"},                               // truncated two-byte form
        {"\xC0\xAF", u"\uFFFD\uFFFD"},                     // overlong slash
        {"\xED\xA0\x80", u"\uFFFD\uFFFD\uFFFD"},           // encoded surrogate
        {"\xF4\x90\x80\x80", u"\uFFFD\uFFFD\uFFFD\uFFFD"}, // above U+10FFFF
        {"\xE2\x28\xA1", u"\uFFFD(\uFFFD"}, // bad continuation inside a three-byte form
    };
    for (Case const& c : cases)
        EXPECT_EQ(Utf16FromUtf8(c.utf8, 256), c.utf16);
    EXPECT_EQ(Utf8FromUtf16(u"a\xD800"), "a\xEF\xBF\xBD"); // unpaired high surrogate
    EXPECT_EQ(Utf8FromUtf16(u"\xDC00z"), "\xEF\xBF\xBDz"); // unpaired low surrogate
}

} // namespace
} // namespace Velmora::Host

// The panel's JSON helpers and the requestExtract option match.
#include "Panel/PanelJson.hpp"

#include <gtest/gtest.h>

namespace Velmora::Testing {
namespace {

// Every escape JsonQuote must make for a script to stay one valid string literal.
TEST(PanelJsonTest, JsonQuoteEscapesQuotesBackslashesAndControls) {
    std::pair<std::string, std::string> const cases[] = {
        {"", "\"\""},
        {"a\"b\\c", "\"a\\\"b\\\\c\""},
        {"\b\f\n\r\t", "\"\\b\\f\\n\\r\\t\""},
        {std::string("\x01\x1f", 2), "\"\\u0001\\u001f\""},
        {std::string(1, '\0'), "\"\\u0000\""},
        {"/ \x7f \xc3\xa9", "\"/ \x7f \xc3\xa9\""}, // slash, DEL and UTF-8 pass through
    };
    for (auto const& [text, quoted] : cases)
        EXPECT_EQ(JsonQuote(text), quoted);
}

// The reader's own escape rules (b, f and u stand for the letter) and its edges.
TEST(PanelJsonTest, JsonExtractStringReadsTheFirstValueWithItsOwnEscapes) {
    struct Case {
        std::string json;
        std::string value;
    };
    Case const cases[] = {
        {R"({"token":"abc"})", "abc"},
        {R"({ "token" :  "a b" , "token":"second"})", "a b"},
        {R"({"token":"q\"q\\s\/"})", "q\"q\\s/"},
        {R"({"token":"\n\r\t"})", "\n\r\t"},
        {R"({"token":"\b\f\u0041"})", "bfu0041"},
        {R"({"token":"unterminated)", "unterminated"},
        {R"({"token":"trailing\)", "trailing"},
        {R"({"token":12})", ""},                  // no opening quote after the colon
        {R"({"token" "x"})", ""},                 // no colon
        {R"({"tok":"x"})", ""},                   // no such key
        {R"({"xtoken":"a","token":"b"})", "b"},   // the key must be quoted whole
        {R"({"token":12,"email":"e"})", "email"}, // not a parser: the next quote opens
    };
    for (Case const& c : cases)
        EXPECT_EQ(JsonExtractString(c.json, "token"), c.value) << c.json;
}

// Only the exact spelling counts; spaces or a quoted value leave the setting as it is.
TEST(PanelJsonTest, IncludeMaskOptionMatchesOnlyTheExactSpelling) {
    std::pair<std::string, std::optional<bool>> const cases[] = {
        {"", std::nullopt},
        {R"({"includeMask":true})", true},
        {R"({"includeMask":false})", false},
        {R"({"includeMask" :false})", std::nullopt},
        {R"({"includeMask": false})", std::nullopt},
        {R"({"includeMask":"false"})", std::nullopt},
        {R"({"includeMask":false,"x":{"includeMask":true}})", true}, // true is looked for first
        {R"({"includeMask":trueish})", true},
    };
    for (auto const& [text, expected] : cases)
        EXPECT_EQ(IncludeMaskOption(text), expected) << text;
}

} // namespace
} // namespace Velmora::Testing

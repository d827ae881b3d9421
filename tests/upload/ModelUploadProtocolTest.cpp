// The model upload's bodies, response readers, progress percent and throttle.
#include "Export/ModelUploadProtocol.hpp"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cmath>
#include <limits>

namespace Velmora::Testing {
namespace {

// Catches member order, number formatting, null for empty names and escaping in the bodies.
TEST(ModelUploadBodies, BeginAndConfirmAreByteForByteAndParse) {
    ModelUploadMetadata metadata;
    metadata.fileName = "House \"A\".glb";
    metadata.triangleCount = 123456;
    metadata.bbox = {12.5, 3.0, -2.5};
    metadata.originalOffset = {100.0, 1e-9, -0.0000001};
    metadata.viewName = "3D\x1f";
    metadata.appVersion = "28.0";
    std::string const begin = BuildBeginJson(metadata);
    EXPECT_EQ(begin, "{\"phase\":\"begin\",\"source\":\"archicad\","
                     "\"file_name\":\"House \\\"A\\\".glb\",\"triangle_count\":123456,"
                     "\"bbox_m\":{\"x\":12.5,\"y\":3,\"z\":-2.5},"
                     "\"original_offset_m\":{\"x\":100,\"y\":0,\"z\":0},"
                     "\"project_name\":null,\"view_name\":\"3D\\u001f\","
                     "\"plugin_version\":\"0.2.0\",\"app_version\":\"28.0\"}");
    EXPECT_EQ(nlohmann::json::parse(begin)["view_name"], metadata.viewName);
    EXPECT_EQ(BuildConfirmJson("m-1\\"), "{\"phase\":\"confirm\",\"model_id\":\"m-1\\\\\"}");
}

// Catches trailing zeros or points left, "-0" written, exponent notation, rounding other than
// to six decimals, and NaN or infinities written as they are.
TEST(ModelUploadBodies, FormatMetersWritesShortDecimals) {
    double const inf = std::numeric_limits<double>::infinity();
    std::pair<double, char const*> const cases[] = {
        {3.0, "3"},
        {-0.0000001, "0"},
        {-0.0, "0"},
        {-1e-6, "-0.000001"},
        {0.0000006, "0.000001"},
        {1234.5678901, "1234.56789"},
        {1e20, "100000000000000000000"},
        {std::nan(""), "0"},
        {-inf, "0"},
    };
    for (auto const& [value, text] : cases)
        EXPECT_EQ(FormatMeters(value), text) << value;
    EXPECT_EQ(FormatMeters(-1.7976931348623157e308).size(), 310u); // the widest double fits
}

// Catches decoding \u, stopping at an escaped quote, reading a later occurrence of the key or
// a key that merely ends the same, and returning partial text for a truncated value.
TEST(ModelUploadResponses, ExtractJsonStringFieldReadsTheFirstStringValue) {
    std::pair<std::string, std::string> const cases[] = {
        {"{\"k\" \t\r\n: \n \"m-1\"}", "m-1"},
        {R"({"k":"a\"b\\c\/d\b\f\n\r\t"})", "a\"b\\c/d\b\f\n\r\t"},
        {R"({"k":"\u00e9\x"})", "u00e9x"},
        {R"({"kk":"no","k":"yes","k":"second"})", "yes"},
        {R"({"k":12})", ""},
        {R"({"k" "v"})", ""},
        {R"({"k":)", ""},
        {R"({"k":"unterminated)", ""},
        {R"({"k":"ends after a backslash\)", ""},
    };
    for (auto const& [json, value] : cases)
        EXPECT_EQ(ExtractJsonStringField(json, "k"), value) << json;
}

// Catches 5xx details leaking, JSON or HTML bodies shown raw, leading white space kept, and a
// cut at the wrong length.
TEST(ModelUploadResponses, ServerFailureDetailIsWhatTheUserCanRead) {
    std::string const apology = "Something went wrong on our side. Try again in a moment.";
    struct Case {
        long status;
        std::string body;
        std::string detail;
    };
    Case const cases[] = {
        {500, "{\"message\":\"db down\"}", apology},
        {499, " \t\r\nplain reason ", "plain reason "},
        {400, " {\"message\":\"model too large\"}", "model too large"},
        {400, "{\"error\":\"no message field\"}", ""},
        {400, "\n<!DOCTYPE html><html>Bad Request</html>", ""},
        {400, std::string(301, 'x'), std::string(300, 'x') + "..."},
        {400, std::string(300, 'y'), std::string(300, 'y')},
    };
    for (Case const& c : cases)
        EXPECT_EQ(ServerFailureDetail(c.status, c.body), c.detail) << c.status << " " << c.body;
}

// Catches a division by zero, progress past 90, and overflow for large totals.
TEST(ModelUploadProgress, PercentRunsFromThirtyToNinety) {
    std::uint64_t const max = std::numeric_limits<std::uint64_t>::max();
    struct Case {
        std::uint64_t sent;
        std::uint64_t total;
        int percent;
    };
    Case const cases[] = {
        {5, 0, 30},     {1, 100, 30},       {2, 100, 31},       {99, 100, 89},
        {250, 100, 90}, {max / 2, max, 59}, {max - 1, max, 89}, {max, max, 90},
    };
    for (Case const& c : cases)
        EXPECT_EQ(ModelUploadPercent(c.sent, c.total), c.percent) << c.sent << "/" << c.total;
}

// Catches falling or repeated percentages sent, events closer than 250 ms, and a refused
// event that still moves the clock.
TEST(ModelUploadProgress, ThrottleLetsThroughRisingPercentagesAtMostEvery250Ms) {
    using Clock = UploadProgressThrottle::Clock;
    Clock::time_point const start{};
    UploadProgressThrottle throttle(UploadProgressThrottle::kStartPercent, start,
                                    UploadProgressThrottle::kMinInterval);
    struct Step {
        int percent;
        int atMs;
        bool sent;
    };
    Step const steps[] = {
        {31, 100, false}, // too early
        {30, 300, false}, // equal to the start
        {31, 300, true},  {40, 549, false}, {31, 600, false}, {29, 700, false},
        {40, 700, true},  {41, 949, false}, {41, 950, true},
    };
    for (Step const& s : steps)
        EXPECT_EQ(throttle.ShouldSend(s.percent, start + std::chrono::milliseconds(s.atMs)), s.sent)
            << s.percent << " at " << s.atMs;
}

} // namespace
} // namespace Velmora::Testing

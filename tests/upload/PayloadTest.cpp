// The extraction document and its base64: byte for byte, read back by a real JSON parser,
// and the per-image size cap.
#include "Upload/Uploader.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <regex>

namespace Velmora::Testing {
namespace {

using Bytes = std::vector<unsigned char>;

Bytes BytesOf(std::string const& text) {
    return Bytes(text.begin(), text.end());
}

std::string Encode(std::string const& text) {
    Bytes const bytes = BytesOf(text);
    return Uploader::Base64Encode(bytes.data(), bytes.size());
}

// Catches a wrong alphabet, missing or extra padding and a dropped tail byte.
TEST(Base64, EncodesTheRfc4648Vectors) {
    struct Case {
        std::string in;
        char const* out;
    };
    Case const cases[] = {
        {"", ""},
        {"f", "Zg=="},
        {"fo", "Zm8="},
        {"foo", "Zm9v"},
        {"foob", "Zm9vYg=="},
        {"fooba", "Zm9vYmE="},
        {"foobar", "Zm9vYmFy"},
        {"\xfb\xff\xbf", "+/+/"},                 // the last two alphabet letters
        {std::string("\0\0\0\0", 4), "AAAAAA=="}, // zero bytes are data
        {"\xff\xff\xff\xff\xff", "//////8="},
    };
    for (Case const& c : cases)
        EXPECT_EQ(Encode(c.in), c.out) << c.out;
}

// Catches a wrong entry in the two-character table: group i holds i in its first 12 bits and
// 4095 - i in its last, so every entry is reached from both halves; compared with the alphabet
// read six bits at a time, for every tail length.
TEST(Base64, EveryTwelveBitHalfMatchesTheAlphabetSixBitsAtATime) {
    char const* const alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    Bytes bytes;
    std::string expected;
    for (std::uint32_t i = 0; i < 4096; ++i) {
        std::uint32_t const group = (i << 12) | (4095 - i);
        bytes.insert(bytes.end(),
                     {static_cast<unsigned char>(group >> 16),
                      static_cast<unsigned char>(group >> 8), static_cast<unsigned char>(group)});
        for (int shift = 18; shift >= 0; shift -= 6)
            expected += alphabet[(group >> shift) & 0x3F];
    }
    EXPECT_EQ(Uploader::Base64Encode(bytes.data(), bytes.size()), expected);
    for (std::size_t tail = 1; tail <= 2; ++tail) {
        std::string const got = Uploader::Base64Encode(bytes.data(), bytes.size() - 3 + tail);
        EXPECT_EQ(got.substr(0, expected.size() - 4), expected.substr(0, expected.size() - 4));
        EXPECT_EQ(got.size(), expected.size()) << tail;
    }
}

UploadRequest SampleRequest() {
    UploadRequest req;
    req.imageBytes = BytesOf("foobar");
    req.imageMime = "image/jpeg";
    req.maskPresent = true;
    req.maskBytes = BytesOf("fo");
    req.maskMime = "image/png";
    req.viewName = "Ground \"Floor\" \\ 1\n\x01 \xc3\xa9";
    req.displayStyle = "Shaded\t";
    req.useCurrentViewSettings = true;
    req.pluginVersion = "0.1.0";
    return req;
}

// Replaces the timestamp (checked for its shape) with "T" so that the rest compares exactly.
std::string WithoutTimestamp(std::string const& json) {
    std::regex const stamp(R"("timestamp":"\d{4}-\d{2}-\d{2}T\d{2}:\d{2}:\d{2}\.0000000Z")");
    std::smatch found;
    EXPECT_TRUE(std::regex_search(json, found, stamp)) << json;
    return std::regex_replace(json, stamp, "\"timestamp\":\"T\"");
}

// Catches any change of key order, spacing, escaping (lower-case \u), MIME placement or
// metadata values.
TEST(PayloadJson, IsByteForByteTheDocumentTheServiceReads) {
    std::string json;
    ASSERT_TRUE(Uploader::BuildPayloadJson(SampleRequest(), json));
    EXPECT_EQ(WithoutTimestamp(json),
              "{\"viewport\":\"data:image/jpeg;base64,Zm9vYmFy\","
              "\"mask\":\"data:image/png;base64,Zm8=\",\"source\":\"ArchiCAD\",\"metadata\":{"
              "\"viewName\":\"Ground \\\"Floor\\\" \\\\ 1\\n\\u0001 \xc3\xa9\","
              "\"displayStyle\":\"Shaded\\t\",\"useCurrentViewSettings\":true,\"hasMask\":true,"
              "\"pluginVersion\":\"0.1.0\",\"timestamp\":\"T\"}}");
    nlohmann::json const parsed = nlohmann::json::parse(json);
    EXPECT_EQ(parsed["metadata"]["viewName"], SampleRequest().viewName);
    EXPECT_EQ(parsed["metadata"]["displayStyle"], "Shaded\t");
    EXPECT_EQ(parsed["mask"], "data:image/png;base64,Zm8=");
}

// Catches "hasMask" following maskPresent instead of the bytes actually sent, and an empty
// view name sent as it is.
TEST(PayloadJson, MaskIsNullUnlessBytesAreAttachedAndAnEmptyViewIsNamed) {
    struct Case {
        bool maskPresent;
        std::string maskBytes;
        bool expectMask;
    };
    Case const cases[] = {{true, "", false}, {false, "png", false}, {true, "png", true}};
    for (Case const& c : cases) {
        UploadRequest req = SampleRequest();
        req.maskPresent = c.maskPresent;
        req.maskBytes = BytesOf(c.maskBytes);
        req.viewName.clear();
        req.useCurrentViewSettings = false;
        std::string json;
        ASSERT_TRUE(Uploader::BuildPayloadJson(req, json));
        nlohmann::json const parsed = nlohmann::json::parse(json);
        EXPECT_EQ(parsed["mask"].is_null(), !c.expectMask) << json;
        EXPECT_EQ(parsed["metadata"]["hasMask"], c.expectMask);
        EXPECT_EQ(parsed["metadata"]["viewName"], "Unnamed View");
        EXPECT_EQ(parsed["metadata"]["useCurrentViewSettings"], false);
        EXPECT_EQ(parsed["source"], "ArchiCAD");
        EXPECT_NE(json.find(c.expectMask ? "\"mask\":\"data:" : "\"mask\":null,"),
                  std::string::npos);
    }
}

// 7864320 bytes encode to exactly 10485760 characters: catches an off-by-one in the cap, a
// cap on the whole document, and a mask that escapes the check.
TEST(PayloadJson, EachImageMayEncodeToTenMegabytesOfBase64AndNoMore) {
    std::size_t const atCap = 7864320;
    struct Case {
        std::size_t imageSize;
        std::size_t maskSize;
        bool accepted;
    };
    Case const cases[] = {
        {atCap, atCap, true},   // both at the cap: the test is per image
        {atCap + 1, 10, false}, // 10485764 characters
        {10, atCap + 1, false},
    };
    for (Case const& c : cases) {
        UploadRequest req = SampleRequest();
        req.imageBytes.assign(c.imageSize, 0x5A);
        req.maskBytes.assign(c.maskSize, 0xA5);
        std::string json = "stale";
        EXPECT_EQ(Uploader::BuildPayloadJson(req, json), c.accepted) << c.imageSize;
        if (!c.accepted) {
            EXPECT_EQ(json, "");
        }
    }
}

} // namespace
} // namespace Velmora::Testing

// The extraction document and its base64: byte for byte, read back by a real JSON parser,
// and the per-image size cap.
#include "Upload/Uploader.hpp"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <regex>

namespace Velmora::Testing {
namespace {

using Bytes = std::vector<unsigned char>;

Bytes BytesOf(std::string const& text) {
    return Bytes(text.begin(), text.end());
}

// Catches a wrong alphabet, missing or extra padding and a dropped tail byte.
TEST(Base64, EncodesTheRfc4648Vectors) {
    std::pair<std::string, char const*> const cases[] = {
        {"", ""},
        {"f", "Zg=="},
        {"fo", "Zm8="},
        {"foo", "Zm9v"},
        {"foob", "Zm9vYg=="},
        {"fooba", "Zm9vYmE="},
        {"foobar", "Zm9vYmFy"},
        {"\xfb\xff\xbf", "+/+/"},           // the last two alphabet letters
        {std::string(4, '\0'), "AAAAAA=="}, // zero bytes are data
    };
    for (auto const& [in, out] : cases) {
        Bytes const bytes = BytesOf(in);
        EXPECT_EQ(Uploader::Base64Encode(bytes.data(), bytes.size()), out);
    }
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

// Catches any change of key order, spacing, escaping (lower-case \u), MIME placement,
// metadata values or timestamp shape.
TEST(PayloadJson, IsByteForByteTheDocumentTheServiceReads) {
    std::string json;
    ASSERT_TRUE(Uploader::BuildPayloadJson(SampleRequest(), json));
    std::regex const stamp(R"("timestamp":"\d{4}-\d{2}-\d{2}T\d{2}:\d{2}:\d{2}\.0000000Z")");
    EXPECT_EQ(std::regex_replace(json, stamp, "\"timestamp\":\"T\""),
              "{\"viewport\":\"data:image/jpeg;base64,Zm9vYmFy\","
              "\"mask\":\"data:image/png;base64,Zm8=\",\"source\":\"ArchiCAD\",\"metadata\":{"
              "\"viewName\":\"Ground \\\"Floor\\\" \\\\ 1\\n\\u0001 \xc3\xa9\","
              "\"displayStyle\":\"Shaded\\t\",\"useCurrentViewSettings\":true,\"hasMask\":true,"
              "\"pluginVersion\":\"0.1.0\",\"timestamp\":\"T\"}}");
    EXPECT_EQ(nlohmann::json::parse(json)["metadata"]["viewName"], SampleRequest().viewName);
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
        std::string json;
        ASSERT_TRUE(Uploader::BuildPayloadJson(req, json));
        nlohmann::json const parsed = nlohmann::json::parse(json);
        EXPECT_EQ(parsed["mask"].is_null(), !c.expectMask) << json;
        EXPECT_EQ(parsed["metadata"]["hasMask"], c.expectMask);
        EXPECT_EQ(parsed["metadata"]["viewName"], "Unnamed View");
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
    Case const cases[] = {{atCap, atCap, true}, {atCap + 1, 10, false}, {10, atCap + 1, false}};
    for (Case const& c : cases) {
        UploadRequest req = SampleRequest();
        req.imageBytes.assign(c.imageSize, 0x5A);
        req.maskBytes.assign(c.maskSize, 0xA5);
        std::string json = "stale";
        EXPECT_EQ(Uploader::BuildPayloadJson(req, json), c.accepted) << c.imageSize;
        EXPECT_EQ(json.empty(), !c.accepted);
    }
}

} // namespace
} // namespace Velmora::Testing

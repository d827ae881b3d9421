// What the reference service refuses, so that an add-on bug cannot pass unnoticed, and the
// valid exchange it accepts.
#include "DevServerFixture.hpp"

#include <filesystem>

namespace Velmora::Testing {
namespace {

using nlohmann::json;

// The document with the value at `pointer` replaced, or removed when no value is given.
std::string With(json document, char const* pointer, json const& value = json::value_t::discarded) {
    json::json_pointer const at(pointer);
    if (value.is_discarded())
        document[at.parent_pointer()].erase(at.back());
    else
        document[at] = value;
    return document.dump();
}

// Each row breaks one rule; a refusal must name what is wrong, no extraction may be stored and
// no model become ready. Then the valid requests pass and are stored byte for byte.
TEST_F(DevServerTest, RefusesEveryBrokenRuleThenAcceptsAndStoresTheValidExchange) {
    json const begin = BeginModel();
    std::string const target = UploadTarget(begin);
    std::string const glb = MakeGlb(std::string(16, '\0'));
    auto patched = [&glb](std::size_t at, std::string const& bytes) {
        return std::string(glb).replace(at, bytes.size(), bytes);
    };
    json const extraction = ExtractionDocument(false);
    std::string const jpeg = "data:image/jpeg;base64,";
    std::string const png = "data:image/png;base64,";
    char const* const kExtract = "/extractions-upload";
    char const* const kModel = "/models-uploadFromPlugin";
    struct Case {
        char const* what;   // the service accepting it would let an add-on bug through
        std::string target; // POST path, or the signed PUT target
        std::string body;
        int status;
        char const* message;
        std::string token = kTestToken;
        char const* contentType = nullptr; // JSON for POST, gltf-binary for PUT
    };
    Case const cases[] = {
        {"wrong token", kExtract, extraction.dump(), 401, "bearer", "stale"},
        {"no token", kModel, BeginDocument().dump(), 401, "bearer", ""},
        {"form type", kExtract, extraction.dump(), 415, "Content-Type", kTestToken, "text/plain"},
        {"truncated JSON", kExtract, extraction.dump().substr(0, 40), 400, "JSON"},
        {"extra key", kExtract, With(extraction, "/x", 1), 400, "unexpected key 'x'"},
        {"source case", kExtract, With(extraction, "/source", "Archicad"), 400, "source"},
        {"line break", kExtract, With(extraction, "/viewport", jpeg + "/9j/\n4AAQ"), 400, "strict"},
        {"no padding", kExtract, With(extraction, "/viewport", jpeg + "/9j/4AAQSkZJRgD/2Q"), 400,
         "strict"},
        {"spare bits set", kExtract, With(extraction, "/viewport", jpeg + "/9j/2R=="), 400,
         "strict"},
        {"png as viewport", kExtract, With(extraction, "/viewport", png + kJpegBase64), 400,
         "data:image/jpeg;base64,"},
        {"jpeg cut short", kExtract, With(extraction, "/viewport", jpeg + "/9j/4AAQSkZJRgA="), 400,
         "FF D9"},
        {"mask not a png", kExtract, With(ExtractionDocument(true), "/mask", png + kJpegBase64),
         400, "PNG"},
        {"hasMask, no mask", kExtract, With(extraction, "/metadata/hasMask", true), 400, "hasMask"},
        {"3-digit fraction", kExtract,
         With(extraction, "/metadata/timestamp", "2026-11-22T08:15:00.000Z"), 400, "timestamp"},
        {"quoted boolean", kExtract, With(extraction, "/metadata/useCurrentViewSettings", "true"),
         400, "useCurrentViewSettings"},
        {"over the cap", kExtract, With(extraction, "/viewport", jpeg + std::string(10485764, 'A')),
         400, "10485760"},
        {"no triangles", kModel, With(BeginDocument(), "/triangle_count", 0), 400, "triangle"},
        {"1.5 triangles", kModel, With(BeginDocument(), "/triangle_count", 1.5), 400, "triangle"},
        {".gltf name", kModel, With(BeginDocument(), "/file_name", "h.gltf"), 400, "file_name"},
        {"bbox without z", kModel, With(BeginDocument(), "/bbox_m/z"), 400, "'z' in bbox_m"},
        {"offset as text", kModel, With(BeginDocument(), "/original_offset_m/x", "0"), 400,
         "original_offset_m.x"},
        {"project name 0", kModel, With(BeginDocument(), "/project_name", 0), 400, "project_name"},
        {"no app version", kModel, With(BeginDocument(), "/app_version"), 400, "'app_version'"},
        {"unknown phase", kModel, R"({"phase":"finish","model_id":"model-0001"})", 400, "phase"},
        {"unknown model", kModel, R"({"phase":"confirm","model_id":"model-9999"})", 400,
         "unknown model_id"},
        {"wrong signature", target.substr(0, target.size() - 4) + "0000", glb, 403, "signature"},
        {"another key's signature", "/upload/model-0002.glb" + target.substr(target.find('?')), glb,
         403, "signature"},
        {"octet-stream", target, glb, 415, "gltf-binary", "", "application/octet-stream"},
        {"truncated glb", target, glb.substr(0, glb.size() - 4), 400, "length field"},
        {"wrong magic", target, patched(0, "gltf"), 400, "magic"},
        {"version 1", target, patched(4, std::string("\1\0\0\0", 4)), 400, "version"},
        {"JSON chunk of 30", target, patched(12, std::string("\x1E\0\0\0", 4)), 400, "multiple"},
        {"JSON not parsing", target, patched(20, "{{"), 400, "parse"},
        {"BIN past the end", target, patched(48, std::string("\x14\0\0\0", 4)), 400, "BIN chunk"},
        {"second not BIN", target, patched(52, "JSON"), 400, "not BIN"},
    };
    for (Case const& c : cases) {
        bool const put = c.target.rfind("/upload/", 0) == 0;
        httplib::Result const result =
            put ? Put(c.target, c.body, c.contentType ? c.contentType : "model/gltf-binary")
                : PostJson(c.target, c.body, c.token,
                           c.contentType ? c.contentType : "application/json");
        ASSERT_TRUE(result) << c.what;
        EXPECT_EQ(result->status, c.status) << c.what;
        EXPECT_THAT(MessageOf(result->body), testing::HasSubstr(c.message)) << c.what;
    }
    EXPECT_FALSE(std::filesystem::exists(storeFolder + "/extraction-0001.jpg"));
    json const confirm = {{"phase", "confirm"}, {"model_id", begin["model_id"]}};
    EXPECT_EQ(PostJson(kModel, confirm.dump())->status, 409); // no valid file yet

    // The valid exchange: files stored byte for byte, the PUT seen without a token.
    ASSERT_EQ(PostJson(kExtract, ExtractionDocument(true).dump())->status, 200);
    EXPECT_EQ(ReadStored("extraction-0001.jpg"), FakeJpeg());
    EXPECT_EQ(ReadStored("extraction-0001-mask.png"), FakePng());
    ASSERT_EQ(Put(target, glb)->status, 200);
    httplib::Result const ready = PostJson(kModel, confirm.dump());
    ASSERT_TRUE(ready);
    EXPECT_EQ(json::parse(ready->body),
              (json{{"model_id", begin["model_id"]}, {"key", begin["key"]}, {"status", "ready"}}));
    EXPECT_EQ(ReadStored(begin["key"].get<std::string>()), glb);
    json const log = Log();
    json const& put = log[log.size() - 2];
    EXPECT_EQ(put["method"], "PUT");
    EXPECT_EQ(put["requestBytes"], glb.size());
    EXPECT_FALSE(put["authorization"].get<bool>());
}

} // namespace
} // namespace Velmora::Testing

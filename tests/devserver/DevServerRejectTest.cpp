// What the reference service refuses, so that an add-on bug cannot pass unnoticed.
#include "DevServerFixture.hpp"

#include <filesystem>
#include <functional>

namespace Velmora::Testing {
namespace {

using nlohmann::json;

std::string Edited(json document, std::function<void(json&)> const& edit) {
    edit(document);
    return document.dump();
}

// Each row breaks one rule of the JSON requests; the message must name what is wrong.
TEST_F(DevServerTest, RefusesEveryMalformedJsonRequestWithItsReason) {
    struct Case {
        char const* name;
        char const* path;
        std::string body;
        std::string token;
        char const* contentType;
        int status;
        char const* message;
    };
    std::string const extraction = ExtractionDocument(true).dump();
    std::string const begin = BeginDocument().dump();
    char const* const kExtract = "/extractions-upload";
    char const* const kModel = "/models-uploadFromPlugin";
    char const* const kJson = "application/json";
    Case const cases[] = {
        // Authentication the add-on could get wrong.
        {"wrong token", kExtract, extraction, "stale", kJson, 401, "bearer"},
        {"no token", kModel, begin, "", kJson, 401, "bearer"},
        {"form content type", kExtract, extraction, kTestToken, "text/plain", 415, "Content-Type"},
        // Extraction document: syntax, keys, data URLs, image signatures, metadata.
        {"truncated JSON", kExtract, extraction.substr(0, 40), kTestToken, kJson, 400, "JSON"},
        {"extra key", kExtract, Edited(ExtractionDocument(false), [](json& d) { d["x"] = 1; }),
         kTestToken, kJson, 400, "unexpected key 'x'"},
        {"source case", kExtract,
         Edited(ExtractionDocument(false), [](json& d) { d["source"] = "Archicad"; }), kTestToken,
         kJson, 400, "source"},
        {"line break in base64", kExtract,
         Edited(ExtractionDocument(false),
                [](json& d) { d["viewport"] = "data:image/jpeg;base64,/9j/\n4AAQ"; }),
         kTestToken, kJson, 400, "strict base64"},
        {"missing padding", kExtract,
         Edited(ExtractionDocument(false),
                [](json& d) {
                    d["viewport"] = "data:image/jpeg;base64," + Base64(FakeJpeg()).substr(0, 18);
                }),
         kTestToken, kJson, 400, "strict base64"},
        {"spare bits set", kExtract,
         Edited(ExtractionDocument(false),
                [](json& d) { d["viewport"] = "data:image/jpeg;base64,/9j/2R=="; }),
         kTestToken, kJson, 400, "strict base64"},
        {"url-safe alphabet", kExtract,
         Edited(ExtractionDocument(false),
                [](json& d) { d["viewport"] = "data:image/jpeg;base64,_9j_2Q=="; }),
         kTestToken, kJson, 400, "strict base64"},
        {"png sent as viewport", kExtract,
         Edited(ExtractionDocument(false),
                [](json& d) { d["viewport"] = "data:image/png;base64," + Base64(FakeJpeg()); }),
         kTestToken, kJson, 400, "data:image/jpeg;base64,"},
        {"jpeg cut short", kExtract,
         Edited(ExtractionDocument(false),
                [](json& d) {
                    d["viewport"] = "data:image/jpeg;base64," + Base64(FakeJpeg().substr(0, 11));
                }),
         kTestToken, kJson, 400, "FF D9"},
        {"mask not a png", kExtract,
         Edited(ExtractionDocument(true),
                [](json& d) { d["mask"] = "data:image/png;base64," + Base64(FakeJpeg()); }),
         kTestToken, kJson, 400, "PNG"},
        {"hasMask without mask", kExtract,
         Edited(ExtractionDocument(false), [](json& d) { d["metadata"]["hasMask"] = true; }),
         kTestToken, kJson, 400, "hasMask"},
        {"three fraction digits", kExtract,
         Edited(ExtractionDocument(false),
                [](json& d) { d["metadata"]["timestamp"] = "2026-11-22T08:15:00.000Z"; }),
         kTestToken, kJson, 400, "timestamp"},
        {"quoted boolean", kExtract,
         Edited(ExtractionDocument(false),
                [](json& d) { d["metadata"]["useCurrentViewSettings"] = "true"; }),
         kTestToken, kJson, 400, "useCurrentViewSettings"},
        {"base64 over the cap", kExtract,
         Edited(ExtractionDocument(false),
                [](json& d) {
                    d["viewport"] = "data:image/jpeg;base64," + std::string(10485764, 'A');
                }),
         kTestToken, kJson, 400, "10485760"},
        // Model begin and confirm.
        {"no triangles", kModel, Edited(BeginDocument(), [](json& d) { d["triangle_count"] = 0; }),
         kTestToken, kJson, 400, "triangle_count"},
        {"fractional triangles", kModel,
         Edited(BeginDocument(), [](json& d) { d["triangle_count"] = 1.5; }), kTestToken, kJson,
         400, "triangle_count"},
        {"gltf file name", kModel,
         Edited(BeginDocument(), [](json& d) { d["file_name"] = "house.gltf"; }), kTestToken, kJson,
         400, "file_name"},
        {"bbox without z", kModel, Edited(BeginDocument(), [](json& d) { d["bbox_m"].erase("z"); }),
         kTestToken, kJson, 400, "missing key 'z' in bbox_m"},
        {"offset as text", kModel,
         Edited(BeginDocument(), [](json& d) { d["original_offset_m"]["x"] = "0"; }), kTestToken,
         kJson, 400, "original_offset_m.x"},
        {"project name as a number", kModel,
         Edited(BeginDocument(), [](json& d) { d["project_name"] = 0; }), kTestToken, kJson, 400,
         "project_name"},
        {"no app version", kModel, Edited(BeginDocument(), [](json& d) { d.erase("app_version"); }),
         kTestToken, kJson, 400, "missing key 'app_version'"},
        {"unknown phase", kModel, R"({"phase":"finish","model_id":"model-0001"})", kTestToken,
         kJson, 400, "phase"},
        {"confirm of an unknown model", kModel, R"({"phase":"confirm","model_id":"model-9999"})",
         kTestToken, kJson, 400, "unknown model_id"},
    };
    for (Case const& c : cases) {
        httplib::Result const result = PostJson(c.path, c.body, c.token, c.contentType);
        ASSERT_TRUE(result) << c.name;
        EXPECT_EQ(result->status, c.status) << c.name;
        EXPECT_THAT(MessageOf(result->body), testing::HasSubstr(c.message)) << c.name;
    }
    EXPECT_FALSE(std::filesystem::exists(storeFolder + "/extraction-0001.jpg"));
}

// Each row breaks one rule of the signed PUT; a model must not become ready from any of them.
TEST_F(DevServerTest, RefusesEveryBadModelFileAndConfirmStaysUnready) {
    json const begin = BeginModel();
    std::string const target = UploadTarget(begin);
    std::string const good = MakeGlb(R"({"asset":{"version":"2.0"}})", std::string(16, '\0'));
    auto patched = [&good](std::size_t at, std::string const& bytes) {
        std::string glb = good;
        glb.replace(at, bytes.size(), bytes);
        return glb;
    };
    struct Case {
        char const* name;
        std::string target;
        char const* contentType;
        std::string body;
        int status;
        char const* message;
    };
    std::string const wrongSig = target.substr(0, target.size() - 4) + "0000";
    Case const cases[] = {
        {"wrong signature", wrongSig, "model/gltf-binary", good, 403, "signature"},
        {"signature of another key", "/upload/model-0002.glb" + target.substr(target.find('?')),
         "model/gltf-binary", good, 403, "signature"},
        {"octet-stream type", target, "application/octet-stream", good, 415, "gltf-binary"},
        {"truncated file", target, "model/gltf-binary", good.substr(0, good.size() - 4), 400,
         "length field"},
        {"wrong magic", target, "model/gltf-binary", patched(0, "gltf"), 400, "magic"},
        {"version 1", target, "model/gltf-binary", patched(4, std::string("\1\0\0\0", 4)), 400,
         "version"},
        {"JSON chunk length not a multiple of 4", target, "model/gltf-binary",
         patched(12, std::string("\x1E\0\0\0", 4)), 400, "multiple of 4"},
        {"JSON chunk does not parse", target, "model/gltf-binary", patched(20, "{{"), 400, "parse"},
        {"BIN chunk longer than the file", target, "model/gltf-binary",
         patched(48, std::string("\x14\0\0\0", 4)), 400, "BIN chunk length"},
        {"second chunk not BIN", target, "model/gltf-binary", patched(52, "JSON"), 400, "not BIN"},
    };
    for (Case const& c : cases) {
        httplib::Result const result = client->Put(c.target.c_str(), c.body, c.contentType);
        ASSERT_TRUE(result) << c.name;
        EXPECT_EQ(result->status, c.status) << c.name;
        EXPECT_THAT(MessageOf(result->body), testing::HasSubstr(c.message)) << c.name;
    }
    json const confirm = {{"phase", "confirm"}, {"model_id", begin["model_id"]}};
    httplib::Result const early = PostJson("/models-uploadFromPlugin", confirm.dump());
    ASSERT_TRUE(early);
    EXPECT_EQ(early->status, 409); // confirm before a valid PUT
}

// The whole contract once: files stored byte for byte, the PUT seen without a token.
TEST_F(DevServerTest, AcceptsAValidExtractionAndModelAndStoresThem) {
    httplib::Result const extraction =
        PostJson("/extractions-upload", ExtractionDocument(true).dump());
    ASSERT_TRUE(extraction);
    ASSERT_EQ(extraction->status, 200) << extraction->body;
    EXPECT_EQ(ReadStored("extraction-0001.jpg"), FakeJpeg());
    EXPECT_EQ(ReadStored("extraction-0001-mask.png"), FakePng());

    json const begin = BeginModel();
    std::string const glb = MakeGlb(R"({"asset":{"version":"2.0"}})", std::string(8, '\1'));
    httplib::Result const put = client->Put(UploadTarget(begin).c_str(), glb, "model/gltf-binary");
    ASSERT_TRUE(put);
    ASSERT_EQ(put->status, 200) << put->body;
    json const confirm = {{"phase", "confirm"}, {"model_id", begin["model_id"]}};
    httplib::Result const ready = PostJson("/models-uploadFromPlugin", confirm.dump());
    ASSERT_TRUE(ready);
    ASSERT_EQ(ready->status, 200);
    EXPECT_EQ(json::parse(ready->body),
              (json{{"model_id", begin["model_id"]}, {"key", begin["key"]}, {"status", "ready"}}));
    EXPECT_EQ(ReadStored(begin["key"].get<std::string>()), glb);
    json const record = json::parse(ReadStored(begin["model_id"].get<std::string>() + ".json"));
    EXPECT_FALSE(record["put"]["authorizationHeader"].get<bool>());
    EXPECT_TRUE(record["confirmed"].get<bool>());
    json const log = Log();
    ASSERT_EQ(log.size(), 4u);
    EXPECT_EQ(log[2]["method"], "PUT");
    EXPECT_EQ(log[2]["requestBytes"], glb.size());
    EXPECT_FALSE(log[2]["authorization"].get<bool>());
}

} // namespace
} // namespace Velmora::Testing

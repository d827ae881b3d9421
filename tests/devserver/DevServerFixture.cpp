#include "DevServerFixture.hpp"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace Velmora::Testing {

std::string FakeJpeg() {
    return std::string("\xFF\xD8\xFF\xE0\x00\x10JFIF\x00\xFF\xD9", 13);
}

std::string FakePng() {
    return std::string("\x89PNG\r\n\x1A\n\x00\x00\x00\x0DIHDR", 16);
}

nlohmann::json ExtractionDocument(bool withMask) {
    nlohmann::json mask = nullptr;
    if (withMask)
        mask = std::string("data:image/png;base64,") + kPngBase64;
    return {{"viewport", std::string("data:image/jpeg;base64,") + kJpegBase64},
            {"mask", mask},
            {"source", "ArchiCAD"},
            {"metadata",
             {{"viewName", "Unnamed View"},
              {"displayStyle", "Shaded"},
              {"useCurrentViewSettings", true},
              {"hasMask", withMask},
              {"pluginVersion", "0.2.0"},
              {"timestamp", "2026-11-22T08:15:00.0000000Z"}}}};
}

nlohmann::json BeginDocument() {
    return {{"phase", "begin"},
            {"source", "archicad"},
            {"file_name", "house.glb"},
            {"triangle_count", 12},
            {"bbox_m", {{"x", 10.5}, {"y", 6}, {"z", 8}}},
            {"original_offset_m", {{"x", 0}, {"y", 0}, {"z", -1.25}}},
            {"project_name", nullptr},
            {"view_name", "3D"},
            {"plugin_version", "0.2.0"},
            {"app_version", "27.0.0"}};
}

std::string MessageOf(std::string const& body) {
    nlohmann::json const answer = nlohmann::json::parse(body, nullptr, false);
    bool const has =
        answer.is_object() && answer.contains("message") && answer["message"].is_string();
    return has ? answer["message"].get<std::string>() : "";
}

std::string MakeGlb(std::string const& bin) {
    std::string const json = R"({"asset":{"version":"2.0"}} )"; // padded to 28 bytes
    auto u32 = [](std::size_t value) {
        std::string bytes;
        for (int i = 0; i < 4; ++i)
            bytes.push_back(static_cast<char>(value >> (8 * i) & 0xFF));
        return bytes;
    };
    return "glTF" + u32(2) + u32(12 + 8 + json.size() + 8 + bin.size()) + u32(json.size()) +
           "JSON" + json + u32(bin.size()) + std::string("BIN\0", 4) + bin;
}

void DevServerTest::SetUp() {
    std::signal(SIGPIPE, SIG_IGN);
    std::string pattern =
        (std::filesystem::temp_directory_path() / "velmora-devserver-XXXXXX").string();
    ASSERT_NE(::mkdtemp(pattern.data()), nullptr);
    storeFolder = pattern;
    DevServer::DevServerOptions options;
    options.token = kTestToken;
    options.storeFolder = storeFolder;
    server = std::make_unique<DevServer::DevServer>(options);
    port = server->Start();
    ASSERT_GT(port, 0);
    client = std::make_unique<httplib::Client>("127.0.0.1", port);
    // Refusing a 10 MB document takes the server seconds under ThreadSanitizer; the client's
    // default five seconds would turn a slow answer into a failure.
    client->set_read_timeout(std::chrono::seconds(120));
    client->set_write_timeout(std::chrono::seconds(120));
}

void DevServerTest::TearDown() {
    client.reset();
    server.reset();
    std::error_code ignored;
    std::filesystem::remove_all(storeFolder, ignored);
}

httplib::Result DevServerTest::PostJson(std::string const& path, std::string const& body,
                                        std::string const& token, std::string const& contentType) {
    httplib::Headers headers;
    if (!token.empty())
        headers.emplace("Authorization", "Bearer " + token);
    return client->Post(path.c_str(), headers, body, contentType.c_str());
}

httplib::Result DevServerTest::Put(std::string const& target, std::string const& glb,
                                   char const* contentType) {
    return client->Put(target.c_str(), glb, contentType);
}

httplib::Result DevServerTest::AddFault(nlohmann::json const& fault) {
    return client->Post("/_control/fault", fault.dump(), "application/json");
}

nlohmann::json DevServerTest::Log() {
    httplib::Result const result = client->Get("/_control/log");
    return result ? nlohmann::json::parse(result->body)["requests"] : nlohmann::json();
}

nlohmann::json DevServerTest::BeginModel() {
    httplib::Result const result = PostJson("/models-uploadFromPlugin", BeginDocument().dump());
    EXPECT_TRUE(result && result->status == 200);
    return result ? nlohmann::json::parse(result->body) : nlohmann::json::object();
}

std::string DevServerTest::UploadTarget(nlohmann::json const& begin) {
    if (!begin.contains("upload_url") || !begin["upload_url"].is_string())
        return "";
    std::string const url = begin["upload_url"].get<std::string>();
    std::size_t const host = url.find("://");
    return host == std::string::npos ? "" : url.substr(url.find('/', host + 3));
}

std::string DevServerTest::ReadStored(std::string const& name) const {
    std::ifstream in(std::filesystem::path(storeFolder) / name, std::ios::binary);
    std::ostringstream content;
    content << in.rdbuf();
    return content.str();
}

} // namespace Velmora::Testing

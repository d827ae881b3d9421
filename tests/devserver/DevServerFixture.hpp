// Runs the reference service in-process on a free port, with a client and request builders.
#pragma once

#include "DevServer/DevServer.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <httplib.h>
#include <nlohmann/json.hpp>

#include <memory>
#include <string>

namespace Velmora::Testing {

constexpr char const* kTestToken = "test-token";
// The smallest images the service takes, and their base64.
std::string FakeJpeg();
std::string FakePng();
constexpr char const* kJpegBase64 = "/9j/4AAQSkZJRgD/2Q==";
constexpr char const* kPngBase64 = "iVBORw0KGgoAAAANSUhEUg==";

nlohmann::json ExtractionDocument(bool withMask);
nlohmann::json BeginDocument();
// A well-formed .glb with a minimal JSON chunk and `bin` as its BIN chunk.
std::string MakeGlb(std::string const& bin);
// The "message" of a JSON error answer, empty when there is none.
std::string MessageOf(std::string const& body);

class DevServerTest : public testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    httplib::Result PostJson(std::string const& path, std::string const& body,
                             std::string const& token = kTestToken,
                             std::string const& contentType = "application/json");
    httplib::Result Put(std::string const& target, std::string const& glb,
                        char const* contentType = "model/gltf-binary");
    httplib::Result AddFault(nlohmann::json const& fault);
    nlohmann::json Log();
    // Begins a model and returns the begin answer.
    nlohmann::json BeginModel();
    // The path and query of the begin answer's upload address.
    static std::string UploadTarget(nlohmann::json const& begin);
    std::string ReadStored(std::string const& name) const;

    std::string storeFolder;
    int port = 0;
    std::unique_ptr<DevServer::DevServer> server;
    std::unique_ptr<httplib::Client> client;
};

} // namespace Velmora::Testing

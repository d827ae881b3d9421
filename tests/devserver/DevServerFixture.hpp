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

std::string Base64(std::string const& bytes);
std::string FakeJpeg();
std::string FakePng();
nlohmann::json ExtractionDocument(bool withMask);
nlohmann::json BeginDocument();
// A well-formed .glb whose JSON chunk holds jsonText (padded) and whose BIN chunk holds bin.
// The "message" of a JSON error answer, empty when there is none.
std::string MessageOf(std::string const& body);
std::string MakeGlb(std::string const& jsonText, std::string const& bin);

class DevServerTest : public testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    httplib::Result PostJson(std::string const& path, std::string const& body,
                             std::string const& token = kTestToken,
                             std::string const& contentType = "application/json");
    httplib::Result AddFault(nlohmann::json const& fault);
    nlohmann::json Log();
    // Begins a model and returns the begin answer.
    nlohmann::json BeginModel();
    // The path and query of an upload address.
    static std::string UploadTarget(nlohmann::json const& begin);
    std::string ReadStored(std::string const& name) const;

    std::string storeFolder;
    int port = 0;
    std::unique_ptr<DevServer::DevServer> server;
    std::unique_ptr<httplib::Client> client;
};

} // namespace Velmora::Testing

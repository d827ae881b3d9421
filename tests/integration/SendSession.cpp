#include "SendSession.hpp"

#include "BackgroundWork.hpp"
#include "Commands.hpp"
#include "Export/ModelCommands.hpp"
#include "MainThreadDispatcher.hpp"
#include "Panel/ProgressEvents.hpp"
#include "ResourceIds.hpp"
#include "Settings.hpp"

#include <chrono>
#include <csignal>
#include <filesystem>

namespace Velmora::Testing {

namespace fs = std::filesystem;

void SendSessionTest::SetUp() {
    std::signal(SIGPIPE, SIG_IGN);
    storeFolder = (home.Path() / "store").string();
    fs::create_directories(storeFolder);
    DevServer::DevServerOptions options;
    options.token = kSendToken;
    options.storeFolder = storeFolder;
    server = std::make_unique<DevServer::DevServer>(options);
    port_ = server->Start();
    ASSERT_GT(port_, 0);
    control = std::make_unique<httplib::Client>("127.0.0.1", port_);
}

void SendSessionTest::TearDown() {
    Unload();
    // Work a test started without loading the add-on is joined as FreeData would join it.
    BackgroundWork::StopAll(std::chrono::seconds(10));
    control.reset();
    server.reset();
}

std::string SendSessionTest::ServiceBase() const {
    return "http://127.0.0.1:" + std::to_string(port_);
}

void SendSessionTest::Load(std::string const& apiBaseUrl, std::string const& scenePath) {
    WriteFile(home.SupportFolder() / "settings.cfg", "apiBaseUrl=" + apiBaseUrl + "\n");
    Sim::SimHostOptions options;
    options.hostFolder = (home.Path() / "host").string();
    options.addOnId = {VELMORA_MDID_DEVELOPER, VELMORA_MDID_LOCAL};
    options.scenePath = scenePath;
    host.emplace(options);
    std::string error;
    ASSERT_TRUE(host->LoadScene(error)) << error;
    ASSERT_TRUE(host->LoadResources(error)) << error;
    session.emplace(*host);
    ASSERT_TRUE(session->Load(error)) << error;
    Settings::Get().SetAuthToken(kSendToken);
    SetProgressObserver([this](ExtractionKind kind, int percent, std::string const& status) {
        EXPECT_EQ(kind, ExtractionKind::Model);
        progress.push_back({percent, status, std::chrono::steady_clock::now()});
    });
}

void SendSessionTest::SendAndSettle(std::string const& freshToken) {
    std::string whyNot;
    ASSERT_TRUE(host->Menus().Choose(VELMORA_COMMAND_MENU, 3, whyNot)) << whyNot;
    auto const deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while ((IsSendModelInProgress() || !MainThreadDispatcher::IsIdle()) &&
           std::chrono::steady_clock::now() < deadline) {
        session->RunFor(std::chrono::milliseconds(20));
        if (!freshToken.empty())
            Settings::Get().SetAuthToken(freshToken);
    }
    ASSERT_FALSE(IsSendModelInProgress()) << "the send did not settle";
}

void SendSessionTest::Unload() {
    SetProgressObserver({});
    session.reset();
    host.reset();
    Settings::Get().ClearAuthToken();
}

nlohmann::json SendSessionTest::AddFault(nlohmann::json const& fault) {
    httplib::Result const result =
        control->Post("/_control/fault", fault.dump(), "application/json");
    EXPECT_TRUE(result && result->status == 200) << fault.dump();
    return result ? nlohmann::json::parse(result->body) : nlohmann::json();
}

void SendSessionTest::ResetService() {
    control->Post("/_control/reset", "", "application/json");
}

nlohmann::json SendSessionTest::ServiceLog() {
    httplib::Result const result = control->Get("/_control/log");
    return result ? nlohmann::json::parse(result->body)["requests"] : nlohmann::json::array();
}

std::string SendSessionTest::LogText() const {
    return ReadFile(home.SupportFolder() / "logs" / "velmora.log");
}

} // namespace Velmora::Testing

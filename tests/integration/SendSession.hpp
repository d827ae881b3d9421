// The add-on loaded into the simulated host, with the reference service in-process on a free
// loopback port and settings.cfg pointing at it: a send runs as the user would start it.
#pragma once

#include "DevServer/DevServer.hpp"
#include "Sim/AddOnSession.hpp"
#include "Sim/SimHost.hpp"
#include "support/TempHome.hpp"

#include <gtest/gtest.h>
#include <httplib.h>
#include <nlohmann/json.hpp>

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Velmora::Testing {

// Distinctive, so that a copy of it anywhere on disk is found.
constexpr char kSendToken[] = "tok-5f1e9a-never-on-disk";

struct ProgressEvent {
    int percent = 0;
    std::string status;
    std::chrono::steady_clock::time_point at;
};

class SendSessionTest : public testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    std::string ServiceBase() const;
    // Writes settings.cfg with the API address, loads the add-on with the scene (empty: the
    // sample building) and signs in.
    void Load(std::string const& apiBaseUrl, std::string const& scenePath = "");
    // Chooses menu 32500:3 and runs the event loop until the send has settled. While
    // freshToken is set the page keeps handing it over, as it would after a refresh request.
    void SendAndSettle(std::string const& freshToken = "");
    void Unload();

    nlohmann::json AddFault(nlohmann::json const& fault);
    void ResetService();
    nlohmann::json ServiceLog();
    std::string LogText() const;
    std::vector<std::string> LogLinesWith(std::string const& text) const {
        return LinesWith(LogText(), text);
    }

    TempHome home;
    std::string storeFolder;
    std::unique_ptr<DevServer::DevServer> server;
    std::unique_ptr<httplib::Client> control;
    std::optional<Sim::SimHost> host;
    std::optional<Sim::AddOnSession> session;
    std::vector<ProgressEvent> progress;

private:
    int port_ = 0;
};

} // namespace Velmora::Testing

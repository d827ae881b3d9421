// One extraction end to end, in-process: a fresh home, the reference service on a free port
// storing what it accepts, the simulated host with the add-on loaded and signed in, and
// settings.cfg pointing the add-on at the service.
#pragma once

#include "DevServer/DevServer.hpp"
#include "Sim/AddOnSession.hpp"
#include "Sim/SimHost.hpp"
#include "support/ImageFiles.hpp"
#include "support/TempHome.hpp"

#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace Velmora::Testing {

constexpr char const* kServiceToken = "velmora-dev-token";

struct ExtractSetup {
    Sim::SimWindowOptions window;
    bool includeMask = true;
    bool splitInstances = false;
    int highResLongEdge = 256; // the least the settings file takes: no tiling at 960x540
    bool debugDump = false;
    int captureDelayMs = 250; // the simulated window redraws at once: sweeps need no pause
    std::vector<Sim::Fault> hostFaults;
    std::vector<std::string> serviceFaults; // as velmora-devserver's --fault takes them
};

class ExtractSession {
public:
    explicit ExtractSession(ExtractSetup const& setup);
    ~ExtractSession();
    ExtractSession(ExtractSession const&) = delete;
    ExtractSession& operator=(ExtractSession const&) = delete;

    // False when the service, the scene or the add-on could not be had; why() says why.
    bool Ready() const { return error_.empty(); }
    std::string const& Why() const { return error_; }

    // Runs the extract command as the menu does and lets it settle; whileWaiting runs on the
    // main thread between slices of the event loop. False when it did not settle.
    bool Extract(std::function<void()> const& whileWaiting = {},
                 std::chrono::milliseconds timeout = std::chrono::seconds(30));
    // Unloads the add-on (its log is complete afterwards).
    void Unload() { session_->Unload(); }

    Sim::SimHost& Host() { return *host_; }
    std::vector<Sim::SimReport> Reports() const { return host_->Reports(); }
    std::filesystem::path StoreFolder() const { return home_.Path() / "store"; }
    std::filesystem::path HostTempFolder() const { return home_.Path() / "host" / "Temporary"; }
    std::filesystem::path LogFolder() const { return home_.LogFolder(); }
    std::string LogText() const;
    // Stored files whose names end in suffix, sorted.
    std::vector<std::filesystem::path> Stored(std::string const& suffix) const;
    std::vector<std::string> TempFiles() const;
    // The service's request log (GET /_control/log), as "status" numbers in order.
    std::vector<int> ServiceStatuses() const;

private:
    void WriteSettings(ExtractSetup const& setup) const;

    TempHome home_;
    int port_ = 0;
    std::unique_ptr<DevServer::DevServer> service_;
    std::unique_ptr<Sim::SimHost> host_;
    std::unique_ptr<Sim::AddOnSession> session_;
    std::string error_;
};

} // namespace Velmora::Testing

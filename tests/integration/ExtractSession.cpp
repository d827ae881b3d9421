#include "ExtractSession.hpp"

#include "Commands.hpp"
#include "Extract/ExtractCommand.hpp"
#include "ResourceIds.hpp"
#include "Settings.hpp"

#include <httplib.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <csignal>
#include <fstream>

namespace Velmora::Testing {

namespace fs = std::filesystem;

namespace {

std::vector<fs::path> FilesIn(fs::path const& folder) {
    std::vector<fs::path> files;
    std::error_code ec;
    for (fs::directory_iterator it(folder, ec), end; !ec && it != end; it.increment(ec))
        files.push_back(it->path());
    std::sort(files.begin(), files.end());
    return files;
}

char const* Word(bool value) {
    return value ? "true" : "false";
}

} // namespace

ExtractSession::ExtractSession(ExtractSetup const& setup) {
    std::signal(SIGPIPE, SIG_IGN);
    SetCaptureDelayMs(setup.captureDelayMs);
    fs::create_directories(StoreFolder());
    DevServer::DevServerOptions service;
    service.storeFolder = StoreFolder().string();
    for (std::string const& text : setup.serviceFaults) {
        std::string why;
        if (auto fault = DevServer::ParseFaultOption(text, why))
            service.faults.push_back(*fault);
        else
            error_ = "service fault " + text + ": " + why;
    }
    service_ = std::make_unique<DevServer::DevServer>(service);
    port_ = service_->Start();
    if (port_ <= 0)
        error_ = "the reference service could not listen";

    Sim::SimHostOptions options;
    options.hostFolder = (home_.Path() / "host").string();
    options.addOnId = {VELMORA_MDID_DEVELOPER, VELMORA_MDID_LOCAL};
    options.window = setup.window;
    host_ = std::make_unique<Sim::SimHost>(options);
    if (!host_->LoadResources(error_) || !host_->LoadScene(error_))
        return;
    for (Sim::Fault const& fault : setup.hostFaults)
        host_->Calls().AddFault(fault);
    WriteSettings(setup);
    session_ = std::make_unique<Sim::AddOnSession>(*host_);
    if (session_->Load(error_))
        Settings::Get().SetAuthToken(kServiceToken);
}

ExtractSession::~ExtractSession() {
    session_.reset();
    host_.reset();
    service_.reset();
    SetCaptureDelayMs(ExtractSetup{}.captureDelayMs);
}

void ExtractSession::WriteSettings(ExtractSetup const& setup) const {
    fs::path const folder = home_.SupportFolder();
    fs::create_directories(folder);
    std::ofstream(folder / "settings.cfg")
        << "apiBaseUrl=http://127.0.0.1:" << port_ << "\n"
        << "includeMask=" << Word(setup.includeMask) << "\n"
        << "maskSplitInstances=" << Word(setup.splitInstances) << "\n"
        << "highResLongEdge=" << setup.highResLongEdge << "\n"
        << "debugDump=" << Word(setup.debugDump) << "\n";
}

bool ExtractSession::Extract(std::function<void()> const& whileWaiting,
                             std::chrono::milliseconds timeout) {
    DoExtractView();
    auto const deadline = std::chrono::steady_clock::now() + timeout;
    while (!session_->Settle(std::chrono::milliseconds(20))) {
        if (std::chrono::steady_clock::now() > deadline)
            return false;
        if (whileWaiting)
            whileWaiting();
    }
    return true;
}

std::string ExtractSession::LogText() const {
    return ReadFile(LogFolder() / "velmora.log");
}

std::vector<fs::path> ExtractSession::Stored(std::string const& suffix) const {
    std::vector<fs::path> matching;
    for (fs::path const& file : FilesIn(StoreFolder())) {
        std::string const name = file.filename().string();
        if (name.size() >= suffix.size() &&
            name.compare(name.size() - suffix.size(), suffix.size(), suffix) == 0)
            matching.push_back(file);
    }
    return matching;
}

std::vector<std::string> ExtractSession::TempFiles() const {
    std::vector<std::string> names;
    for (fs::path const& file : FilesIn(HostTempFolder()))
        names.push_back(file.filename().string());
    return names;
}

std::vector<int> ExtractSession::ServiceStatuses() const {
    httplib::Client client("127.0.0.1", port_);
    httplib::Result answer = client.Get("/_control/log");
    std::vector<int> statuses;
    if (!answer || answer->status != 200)
        return statuses;
    nlohmann::json const log = nlohmann::json::parse(answer->body);
    for (nlohmann::json const& request : log["requests"])
        statuses.push_back(request["status"].get<int>());
    return statuses;
}

} // namespace Velmora::Testing

// The add-on's whole life in the simulated host, every step entered as the host enters it:
// load, the three toggles, View Logs, the panel (open, sign-in from the page, close box), an
// extraction, an export through its trigger file, a send to the in-process reference service,
// and quit. Each step records what escaped into the host and what the user was told.
#pragma once

#include "DevServer/DevServer.hpp"
#include "Sim/CallLog.hpp"
#include "Sim/SimHost.hpp"
#include "support/AddOnTest.hpp"
#include "support/TempHome.hpp"

#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Velmora::Testing {

// A throw planned for one step: the nth call of that name (a host call or a model reader
// read), counted from the step's start.
struct StepFault {
    std::string call;
    int nthInStep = 1;
};
using FaultPlan = std::map<std::size_t, StepFault>; // by step index

struct StepRecord {
    std::string name;
    bool faultFired = false;
    bool userStarted = false; // a command the user chose: it may tell them one thing
    bool ran = false;         // false when the add-on never got that far (e.g. it did not load)
    std::optional<std::string> escaped; // what left the add-on into the host
    bool settled = true;
    std::vector<Sim::SimReport> reports;
    // Toggles: the flag before and after, in memory and in settings.cfg.
    std::optional<bool> flagBefore, flagAfter, flagInFile;
    std::size_t callsAtEnd = 0;
    std::array<std::uint64_t, Sim::kModelReadCount> readsAtEnd{};
};

struct WindowState {
    Host::API_3DWindowInfo window;
    bool pendingSets = false;
    Host::API_3DStyle style;
    bool highlight = false;
};

struct ScenarioRun {
    std::vector<StepRecord> steps;
    std::vector<Sim::CallRecord> calls;
    bool initializeRan = false;
    bool freeDataRanLast = false; // FreeData logged after the last Initialize
    bool pollerStopped = false;
    bool paletteGone = false;
    WindowState windowBefore, windowAfter;
};

// The reference service, shared by every run of a sweep.
class ScenarioService {
public:
    ScenarioService();
    bool Ready() const { return port_ > 0; }
    int Port() const { return port_; }

private:
    TempHome home_;
    FakeOpener opener_; // View Logs "opens" the folder without a desktop
    std::unique_ptr<DevServer::DevServer> server_;
    int port_ = 0;
};

constexpr char kScenarioToken[] = "edge-sweep-token";

ScenarioRun RunEdgeScenario(ScenarioService const& service, FaultPlan const& plan);

} // namespace Velmora::Testing

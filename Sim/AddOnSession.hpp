// Loads the add-on into the simulated host the way Archicad does, lets work settle, and
// unloads it again.
#pragma once

#include "Sim/SimHost.hpp"

#include <chrono>
#include <string>

namespace Velmora::Sim {

class AddOnSession {
public:
    explicit AddOnSession(SimHost& host);
    ~AddOnSession();
    AddOnSession(AddOnSession const&) = delete;
    AddOnSession& operator=(AddOnSession const&) = delete;

    // Environment check, interface registration, initialisation. On failure the reason is in
    // error; FreeData has run if Initialize had been called. From then on the host unloads and
    // reloads the add-on between calls by its rule (SimHost::AddOn()).
    bool Load(std::string& error);
    // The quit event to its handler, then FreeData, when loaded.
    void Unload();

    // Runs the event loop until no work is queued, sleeping or in flight (an extraction
    // included, through its delayed capture and its upload); false on timeout.
    bool Settle(std::chrono::milliseconds timeout);
    // Runs the event loop for the given time, whatever happens.
    void RunFor(std::chrono::milliseconds duration);

    std::string const& AddOnName() const { return name_; }

private:
    SimHost& host_;
    std::string name_;
};

std::string FormatError(Host::GSErrCode code);

} // namespace Velmora::Sim

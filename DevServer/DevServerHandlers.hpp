// The routes of the reference service: the upload contract, the control endpoints and the
// web app.
#pragma once

#include "DevServer/DevServerCommandLine.hpp"
#include "DevServer/FaultPlan.hpp"
#include "DevServer/PageHold.hpp"
#include "DevServer/RequestLog.hpp"
#include "DevServer/UploadSignature.hpp"
#include "DevServer/UploadStore.hpp"

#include <httplib.h>

#include <atomic>
#include <vector>

namespace Velmora::DevServer {

struct ServiceState {
    explicit ServiceState(DevServerOptions const& options)
        : runFaults(options.faults), faults(options.token), store(options.storeFolder) {
        faults.Reset(runFaults);
    }

    std::vector<Fault> const runFaults;
    FaultPlan faults;
    RequestLog log;
    UploadStore store;
    UploadSignature signature;
    PageHold hold;
    std::atomic<int> port{0}; // set once bound, before the first request
};

void InstallRoutes(httplib::Server& server, ServiceState& state);

} // namespace Velmora::DevServer

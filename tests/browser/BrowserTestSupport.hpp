// What the browser tests share: whether Chromium and its driver are installed, and the
// reference service on a free port.
#pragma once

#include "DevServer/DevServer.hpp"

#include <memory>
#include <string>

namespace Velmora::Testing {

// Empty when Chromium and playwright-core are installed; else what is missing.
std::string MissingBrowserTools();

// The reference service, in-process, storing nothing on disk.
struct RunningDevServer {
    RunningDevServer();
    std::unique_ptr<DevServer::DevServer> server;
    int port = -1;
    std::string Url(std::string const& path) const;
};

} // namespace Velmora::Testing

// velmora-devserver's command line.
#pragma once

#include "DevServer/FaultPlan.hpp"

#include <optional>
#include <string>
#include <vector>

namespace Velmora::DevServer {

constexpr char const* kDefaultToken = "velmora-dev-token";

struct DevServerOptions {
    bool help = false;
    int port = 0; // 0: a free port
    std::string storeFolder;
    std::string token = kDefaultToken;
    std::vector<Fault> faults;
};

// nullopt with a message in error when the command line is wrong.
std::optional<DevServerOptions> ParseDevServerCommandLine(std::vector<std::string> const& args,
                                                          std::string& error);

std::string DevServerUsage();

} // namespace Velmora::DevServer

// The reference service on 127.0.0.1, listening on its own thread; used by the program and by
// tests that run it in-process.
#pragma once

#include "DevServer/DevServerCommandLine.hpp"
#include "DevServer/DevServerHandlers.hpp"

#include <httplib.h>

#include <thread>

namespace Velmora::DevServer {

class DevServer {
public:
    explicit DevServer(DevServerOptions const& options);
    ~DevServer();
    DevServer(DevServer const&) = delete;
    DevServer& operator=(DevServer const&) = delete;

    // Binds and starts listening; returns the port, or -1 when the port cannot be had.
    int Start();
    void Stop();

private:
    int const requestedPort_;
    ServiceState state_;
    httplib::Server server_;
    std::thread listener_;
};

} // namespace Velmora::DevServer

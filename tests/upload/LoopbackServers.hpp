// Servers on 127.0.0.1 for the transport and extraction tests: an HTTP server whose handlers
// the test registers, a one-shot exchange that keeps the raw request bytes (to see header
// order on the wire), and a port on which nothing listens.
#pragma once

#include <httplib.h>

#include <functional>
#include <string>
#include <thread>

namespace Velmora::Testing {

class LoopbackServer {
public:
    LoopbackServer() = default;
    ~LoopbackServer();
    LoopbackServer(LoopbackServer const&) = delete;
    LoopbackServer& operator=(LoopbackServer const&) = delete;

    // Register handlers here before Start.
    httplib::Server& Http() { return server_; }
    // Binds a free port and returns once the server accepts connections.
    void Start();
    std::string Url(std::string const& path) const;

private:
    httplib::Server server_;
    std::thread thread_;
    int port_ = 0;
};

// Runs sendTo(base URL) on a thread while accepting one connection, reads one request (head
// and Content-Length body), writes `answer` as it stands and closes. Returns the raw request.
std::string CaptureRawRequest(std::function<void(std::string const&)> const& sendTo,
                              std::string const& answer);

// A loopback port that was free a moment ago and has no listener.
int ClosedLoopbackPort();

} // namespace Velmora::Testing

// Servers on 127.0.0.1 for the transport and uploader tests: an HTTP server whose handlers
// the test registers, a one-shot server that keeps the raw request bytes (to see header order
// on the wire), and a port on which nothing listens.
#pragma once

#include <httplib.h>

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

// Accepts one connection, reads one request (head and Content-Length body), answers
// "200 ok" and closes.
class RawCaptureServer {
public:
    RawCaptureServer();
    ~RawCaptureServer();
    RawCaptureServer(RawCaptureServer const&) = delete;
    RawCaptureServer& operator=(RawCaptureServer const&) = delete;

    std::string Url(std::string const& path) const;
    // Waits for the exchange to end; the request's head (up to the blank line) and body.
    void Finish(std::string& head, std::string& body);

private:
    void Serve();

    int listener_ = -1;
    int port_ = 0;
    std::thread thread_;
    std::string head_;
    std::string body_;
};

// A loopback port that was free a moment ago and has no listener.
int ClosedLoopbackPort();

} // namespace Velmora::Testing

#include "DevServer/DevServer.hpp"

#include <chrono>

namespace Velmora::DevServer {
namespace {

constexpr char const* kLoopback = "127.0.0.1";
// The largest accepted model plus room for the over-limit bodies the validator must refuse.
constexpr std::size_t kMaxBodyBytes = 210u * 1048576u;
constexpr int kStartPolls = 500; // 10 ms each

} // namespace

DevServer::DevServer(DevServerOptions const& options)
    : requestedPort_(options.port), state_(options) {
    server_.set_payload_max_length(kMaxBodyBytes);
    server_.set_read_timeout(30);
    server_.set_write_timeout(30);
    InstallRoutes(server_, state_);
}

DevServer::~DevServer() {
    Stop();
}

int DevServer::Start() {
    int const port = requestedPort_ == 0 ? server_.bind_to_any_port(kLoopback)
                     : server_.bind_to_port(kLoopback, requestedPort_) ? requestedPort_
                                                                       : -1;
    if (port <= 0)
        return -1;
    state_.port = port;
    listener_ = std::thread([this] { server_.listen_after_bind(); });
    for (int i = 0; i < kStartPolls && !server_.is_running(); ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    if (!server_.is_running()) {
        Stop();
        return -1;
    }
    return port;
}

void DevServer::Stop() {
    state_.hold.Close(); // a held page request would keep the server from stopping
    server_.stop();
    if (listener_.joinable())
        listener_.join();
}

} // namespace Velmora::DevServer

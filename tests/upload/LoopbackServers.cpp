#include "LoopbackServers.hpp"

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <stdexcept>

namespace Velmora::Testing {
namespace {

constexpr char kLoopback[] = "127.0.0.1";

int BindLoopback(int& port) {
    int const fd = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    if (fd < 0 || bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
        getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length) != 0)
        throw std::runtime_error("cannot bind a loopback port");
    port = ntohs(address.sin_port);
    return fd;
}

// True once `received` holds a whole head and the body its Content-Length announces.
bool WholeRequest(std::string const& received) {
    std::size_t const headEnd = received.find("\r\n\r\n");
    if (headEnd == std::string::npos)
        return false;
    std::size_t const at = received.find("\r\nContent-Length: ");
    std::size_t const length =
        at < headEnd ? std::strtoull(received.c_str() + at + 18, nullptr, 10) : 0;
    return received.size() >= headEnd + 4 + length;
}

} // namespace

LoopbackServer::~LoopbackServer() {
    server_.stop();
    if (thread_.joinable())
        thread_.join();
}

void LoopbackServer::Start() {
    port_ = server_.bind_to_any_port(kLoopback);
    ASSERT_GT(port_, 0);
    thread_ = std::thread([this] { server_.listen_after_bind(); });
    auto const deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!server_.is_running() && std::chrono::steady_clock::now() < deadline)
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    ASSERT_TRUE(server_.is_running());
}

std::string LoopbackServer::Url(std::string const& path) const {
    return "http://" + std::string(kLoopback) + ":" + std::to_string(port_) + path;
}

std::string CaptureRawRequest(std::function<void(std::string const&)> const& sendTo,
                              std::string const& answer) {
    int port = 0;
    int const listener = BindLoopback(port);
    listen(listener, 1);
    std::thread client(sendTo, "http://" + std::string(kLoopback) + ":" + std::to_string(port));
    int const connection = accept(listener, nullptr, nullptr);
    std::string received;
    char buffer[65536];
    for (ssize_t n = 1; n > 0 && !WholeRequest(received);) {
        n = recv(connection, buffer, sizeof buffer, 0);
        received.append(buffer, static_cast<std::size_t>(std::max<ssize_t>(n, 0)));
    }
    ::send(connection, answer.data(), answer.size(), MSG_NOSIGNAL);
    close(connection);
    client.join();
    close(listener);
    return received;
}

int ClosedLoopbackPort() {
    int port = 0;
    close(BindLoopback(port));
    return port;
}

} // namespace Velmora::Testing

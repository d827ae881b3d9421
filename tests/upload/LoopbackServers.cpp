#include "LoopbackServers.hpp"

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

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
    address.sin_port = 0;
    socklen_t length = sizeof address;
    if (fd < 0 || bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
        getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length) != 0)
        throw std::runtime_error("cannot bind a loopback port");
    port = ntohs(address.sin_port);
    return fd;
}

std::string UrlFor(int port, std::string const& path) {
    return "http://" + std::string(kLoopback) + ":" + std::to_string(port) + path;
}

std::size_t ContentLength(std::string const& head) {
    std::size_t const at = head.find("\r\nContent-Length: ");
    return at == std::string::npos ? 0 : std::strtoull(head.c_str() + at + 18, nullptr, 10);
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
    return UrlFor(port_, path);
}

RawCaptureServer::RawCaptureServer() {
    listener_ = BindLoopback(port_);
    if (listen(listener_, 1) != 0)
        throw std::runtime_error("cannot listen");
    thread_ = std::thread([this] { Serve(); });
}

RawCaptureServer::~RawCaptureServer() {
    if (listener_ >= 0)
        shutdown(listener_, SHUT_RDWR); // wakes an accept that never got a client
    if (thread_.joinable())
        thread_.join();
    if (listener_ >= 0)
        close(listener_);
}

std::string RawCaptureServer::Url(std::string const& path) const {
    return UrlFor(port_, path);
}

void RawCaptureServer::Finish(std::string& head, std::string& body) {
    if (thread_.joinable())
        thread_.join();
    head = head_;
    body = body_;
}

void RawCaptureServer::Serve() {
    int const client = accept(listener_, nullptr, nullptr);
    if (client < 0)
        return;
    std::string received;
    char buffer[65536];
    std::size_t headEnd = std::string::npos;
    while (headEnd == std::string::npos ||
           received.size() < headEnd + 4 + ContentLength(received.substr(0, headEnd + 2))) {
        ssize_t const n = recv(client, buffer, sizeof buffer, 0);
        if (n <= 0)
            break;
        received.append(buffer, static_cast<std::size_t>(n));
        if (headEnd == std::string::npos)
            headEnd = received.find("\r\n\r\n");
    }
    if (headEnd != std::string::npos) {
        head_ = received.substr(0, headEnd + 2);
        body_ = received.substr(headEnd + 4);
    }
    static char const kAnswer[] =
        "HTTP/1.1 200 OK\r\nContent-Length: 2\r\nConnection: close\r\n\r\nok";
    send(client, kAnswer, sizeof kAnswer - 1, MSG_NOSIGNAL);
    close(client);
}

int ClosedLoopbackPort() {
    int port = 0;
    close(BindLoopback(port));
    return port;
}

} // namespace Velmora::Testing

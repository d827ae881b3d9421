#include "DevServer/ConnectionDrop.hpp"

#include <netinet/in.h>
#include <sys/socket.h>

#include <cstdlib>
#include <filesystem>
#include <string>

namespace Velmora::DevServer {
namespace {

// The port of an IPv4 or IPv6 address, or -1 for any other kind.
int PortOf(sockaddr_storage const& address) {
    if (address.ss_family == AF_INET)
        return ntohs(reinterpret_cast<sockaddr_in const*>(&address)->sin_port);
    if (address.ss_family == AF_INET6)
        return ntohs(reinterpret_cast<sockaddr_in6 const*>(&address)->sin6_port);
    return -1;
}

bool IsConnection(int fd, int localPort, int remotePort) {
    sockaddr_storage local{};
    sockaddr_storage peer{};
    socklen_t localLength = sizeof(local);
    socklen_t peerLength = sizeof(peer);
    return getsockname(fd, reinterpret_cast<sockaddr*>(&local), &localLength) == 0 &&
           getpeername(fd, reinterpret_cast<sockaddr*>(&peer), &peerLength) == 0 &&
           PortOf(local) == localPort && PortOf(peer) == remotePort;
}

} // namespace

bool DropConnection(int localPort, int remotePort) {
    std::error_code error;
    for (auto const& entry : std::filesystem::directory_iterator("/proc/self/fd", error)) {
        std::string const name = entry.path().filename().string();
        int const fd = std::atoi(name.c_str());
        if (IsConnection(fd, localPort, remotePort))
            return shutdown(fd, SHUT_RDWR) == 0;
    }
    return false;
}

} // namespace Velmora::DevServer

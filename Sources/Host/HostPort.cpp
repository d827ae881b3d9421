#include "Host/HostPort.hpp"

#include <atomic>
#include <cstdio>
#include <cstdlib>

namespace Velmora::Host {

namespace {
std::atomic<Port*> gPort{nullptr};
} // namespace

void Install(Port* port) {
    gPort.store(port);
}

bool IsInstalled() {
    return gPort.load() != nullptr;
}

std::size_t GuidHash::operator()(API_Guid const& guid) const noexcept {
    // FNV-1a over the 16 bytes: guids are random enough that any mixing will do.
    std::uint64_t hash = 14695981039346656037ull;
    for (std::uint8_t byte : guid.bytes)
        hash = (hash ^ byte) * 1099511628211ull;
    return static_cast<std::size_t>(hash);
}

Port& Get() {
    Port* port = gPort.load();
    if (port == nullptr) {
        // A call into the host before the entry points installed the port is a programming
        // error that no caller could recover from.
        std::fputs("Velmora: host port used before it was installed\n", stderr);
        std::abort();
    }
    return *port;
}

} // namespace Velmora::Host

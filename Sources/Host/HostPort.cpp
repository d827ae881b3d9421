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

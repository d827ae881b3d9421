// Closes a request's connection without an answer, which the HTTP library offers no call for.
#pragma once

namespace Velmora::DevServer {

// Shuts down this process's TCP socket whose local and peer ports are the request's, so that
// the client sees the connection end before any response byte. False when none is found.
bool DropConnection(int localPort, int remotePort);

} // namespace Velmora::DevServer

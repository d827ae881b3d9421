// Every port call the add-on makes, in order, and the faults the tests asked for.
#pragma once

#include "Host/HostTypes.hpp"

#include <map>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace Velmora::Sim {

// What a planned fault does on the n-th call of one port method.
struct Fault {
    std::string call; // the host's name, e.g. "ACAPI_MenuItem_RegisterMenu"
    int nthCall = 1;  // 1-based
    Host::GSErrCode code = Host::Error::General;
    bool raise = false; // throw instead of returning the code
};

// Thrown by a port call whose fault asks it to throw.
class SimulatedHostException : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

struct CallRecord {
    std::string call;
    bool offMainThread = false;
    std::optional<Host::GSErrCode> injected;
};

class CallLog {
public:
    explicit CallLog(std::thread::id mainThread);

    void AddFault(Fault fault);

    // Records the call; returns the injected error if a fault fires, throws if it says so.
    // mainThreadOnly: whether the host allows this call only on its main thread.
    std::optional<Host::GSErrCode> Enter(std::string const& call, bool mainThreadOnly = true);

    std::vector<CallRecord> Records() const;
    int OffMainThreadCalls() const;

private:
    std::thread::id mainThread_;
    mutable std::mutex mutex_;
    std::vector<Fault> faults_;
    std::map<std::string, int> counts_;
    std::vector<CallRecord> records_;
};

// Parses "NAME[:N[:CODE]]" (CODE decimal or 0x hex; default the general error).
std::optional<Fault> ParseFault(std::string const& text, bool raise);

} // namespace Velmora::Sim

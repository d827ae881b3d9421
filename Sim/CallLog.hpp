// Every port call the add-on makes, in order, and the faults the tests asked for.
#pragma once

#include "Host/HostTypes.hpp"
#include "Sim/ModelReads.hpp"

#include <array>
#include <atomic>
#include <cstdint>
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
    // Records what the host itself did (loading or unloading the add-on) among the calls.
    void Note(std::string const& text);

    // The cheap path for the model reader's reads: counts without a record and throws
    // SimulatedHostException on a planned fault (a read has no error code to return).
    void EnterRead(ModelRead read) {
        std::size_t const slot = static_cast<std::size_t>(read);
        std::uint64_t const nth = readCounts_[slot].fetch_add(1, std::memory_order_relaxed) + 1;
        if (readArmed_[slot].load(std::memory_order_relaxed))
            CheckReadFault(read, nth);
    }
    std::uint64_t ReadCount(ModelRead read) const {
        return readCounts_[static_cast<std::size_t>(read)].load();
    }

    std::vector<CallRecord> Records() const;
    int OffMainThreadCalls() const;

private:
    void CheckReadFault(ModelRead read, std::uint64_t nth);

    std::thread::id mainThread_;
    std::array<std::atomic<std::uint64_t>, kModelReadCount> readCounts_{};
    std::array<std::atomic<bool>, kModelReadCount> readArmed_{};
    mutable std::mutex mutex_;
    std::vector<Fault> faults_;
    std::map<std::string, int> counts_;
    std::vector<CallRecord> records_;
};

// Parses "NAME[:N[:CODE]]" (CODE decimal or 0x hex; default the general error).
std::optional<Fault> ParseFault(std::string const& text, bool raise);

} // namespace Velmora::Sim

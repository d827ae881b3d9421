// Faults the server is told to answer with, per run or per request, and the bearer token it
// accepts (a 401-once fault replaces that token, so both live here).
#pragma once

#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace Velmora::DevServer {

enum class FaultMode {
    Unauthorized401Once,
    Forbidden403,
    Aspect400,
    Server500,
    BadGateway502,
    Html,
    Drop,
    Slow,
    NoUploadUrl,
};

struct Fault {
    std::string path;  // "/extractions-upload", "/models-uploadFromPlugin" or "/upload"
    std::string phase; // empty: any phase
    FaultMode mode = FaultMode::Server500;
    int count = 1; // requests it applies to; 0: every matching request
    int slowMs = 0;
    int status = 500;        // the status of an "html" fault
    std::string acceptToken; // the token accepted after a "401-once" fault fired
    std::string modeText;    // as given, for the request log
};

struct FaultModeInfo {
    char const* name;
    char const* outcome;
    char const* example;
};

// One row per mode, for the parser and the help text.
std::vector<FaultModeInfo> const& FaultModes();

// fields: path, mode, and optionally phase, count, status, acceptToken. nullopt with error set
// when a field is missing, unknown or out of range.
std::optional<Fault> BuildFault(std::map<std::string, std::string> const& fields,
                                std::string& error);

// "PATH=MODE[,phase=P][,count=N][,status=S][,acceptToken=T]" as given to --fault.
std::optional<Fault> ParseFaultOption(std::string const& text, std::string& error);

class FaultPlan {
public:
    explicit FaultPlan(std::string token);

    void Add(Fault fault);
    // The first fault that matches the request, counted as used. A 401-once fault switches
    // the accepted token to its acceptToken as it fires.
    std::optional<Fault> Take(std::string const& path, std::string const& phase);
    bool AcceptsToken(std::string const& token) const;
    std::string AcceptedToken() const;
    // Clears every fault and restores the token the server started with.
    void Reset(std::vector<Fault> const& runFaults);
    std::size_t Size() const;

private:
    mutable std::mutex mutex_;
    std::string const initialToken_;
    std::string token_;
    std::vector<Fault> faults_;
};

} // namespace Velmora::DevServer

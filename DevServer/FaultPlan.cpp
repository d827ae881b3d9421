#include "DevServer/FaultPlan.hpp"

#include <cstdlib>

namespace Velmora::DevServer {
namespace {

constexpr long kMaxSlowMs = 120000;
constexpr long kMaxCount = 1000000;

struct ModeRow {
    FaultModeInfo info;
    FaultMode mode;
};

std::vector<ModeRow> const& ModeRows() {
    static std::vector<ModeRow> const rows = {
        {{"401-once", "401 once, then only the fault's acceptToken is accepted",
          "/models-uploadFromPlugin=401-once,phase=begin,acceptToken=fresh-token"},
         FaultMode::Unauthorized401Once},
        {{"403", "403 with a JSON message", "/extractions-upload=403"}, FaultMode::Forbidden403},
        {{"400-aspect", "400 whose JSON message contains \"aspect\"",
          "/extractions-upload=400-aspect"},
         FaultMode::Aspect400},
        {{"500", "500 with a JSON message", "/upload=500"}, FaultMode::Server500},
        {{"502", "502 with a JSON message", "/models-uploadFromPlugin=502,phase=confirm"},
         FaultMode::BadGateway502},
        {{"html", "an HTML error page with the fault's status (default 500)",
          "/upload=html,status=400"},
         FaultMode::Html},
        {{"drop", "the connection is closed without a response", "/extractions-upload=drop"},
         FaultMode::Drop},
        {{"slow:MS", "the normal answer, MS milliseconds late (at most 120000)",
          "/extractions-upload=slow:1500"},
         FaultMode::Slow},
        {{"no-upload-url", "a begin answer without upload_url (begin requests only)",
          "/models-uploadFromPlugin=no-upload-url"},
         FaultMode::NoUploadUrl},
    };
    return rows;
}

bool ParseLong(std::string const& text, long min, long max, long& value) {
    char* end = nullptr;
    value = std::strtol(text.c_str(), &end, 10);
    return !text.empty() && *end == '\0' && value >= min && value <= max;
}

bool ParseMode(std::string const& text, Fault& fault) {
    fault.modeText = text;
    if (text.rfind("slow:", 0) == 0) {
        long ms = 0;
        fault.mode = FaultMode::Slow;
        bool const ok = ParseLong(text.substr(5), 0, kMaxSlowMs, ms);
        fault.slowMs = static_cast<int>(ms);
        return ok;
    }
    for (ModeRow const& row : ModeRows()) {
        if (text == row.info.name && row.mode != FaultMode::Slow) {
            fault.mode = row.mode;
            return true;
        }
    }
    return false;
}

bool PathMatches(std::string const& faultPath, std::string const& path) {
    return path == faultPath || path.rfind(faultPath + "/", 0) == 0;
}

// Fills the optional fields; false with error set on a bad value or an unknown field.
bool ApplyOptionalFields(std::map<std::string, std::string> const& fields, Fault& fault,
                         std::string& error) {
    for (auto const& [name, value] : fields) {
        long number = 0;
        if (name == "path" || name == "mode") {
            continue;
        } else if (name == "phase") {
            fault.phase = value;
        } else if (name == "acceptToken") {
            fault.acceptToken = value;
        } else if (name == "count" && ParseLong(value, 0, kMaxCount, number)) {
            fault.count = static_cast<int>(number);
        } else if (name == "status" && ParseLong(value, 400, 599, number)) {
            fault.status = static_cast<int>(number);
        } else {
            error = "bad fault field '" + name + "'='" + value +
                    "' (fields: path, mode, phase, count 0..1000000, status 400..599, "
                    "acceptToken)";
            return false;
        }
    }
    return true;
}

} // namespace

std::vector<FaultModeInfo> const& FaultModes() {
    static std::vector<FaultModeInfo> const infos = [] {
        std::vector<FaultModeInfo> list;
        for (ModeRow const& row : ModeRows())
            list.push_back(row.info);
        return list;
    }();
    return infos;
}

std::optional<Fault> BuildFault(std::map<std::string, std::string> const& fields,
                                std::string& error) {
    auto const path = fields.find("path");
    auto const mode = fields.find("mode");
    Fault fault;
    if (path == fields.end() || path->second.empty() || path->second[0] != '/') {
        error = "a fault needs a path beginning with '/'";
        return std::nullopt;
    }
    fault.path = path->second;
    if (mode == fields.end() || !ParseMode(mode->second, fault)) {
        error =
            "unknown fault mode '" + (mode == fields.end() ? "" : mode->second) + "' (see --help)";
        return std::nullopt;
    }
    if (!ApplyOptionalFields(fields, fault, error))
        return std::nullopt;
    if (fault.mode == FaultMode::NoUploadUrl)
        fault.phase = "begin";
    return fault;
}

std::optional<Fault> ParseFaultOption(std::string const& text, std::string& error) {
    std::size_t const equals = text.find('=');
    if (equals == std::string::npos) {
        error = "--fault takes PATH=MODE[,phase=P][,count=N][,status=S][,acceptToken=T]";
        return std::nullopt;
    }
    std::map<std::string, std::string> fields{{"path", text.substr(0, equals)}};
    std::string const rest = text.substr(equals + 1);
    std::size_t start = 0;
    for (bool first = true; start <= rest.size(); first = false) {
        std::size_t const comma = std::min(rest.find(',', start), rest.size());
        std::string const item = rest.substr(start, comma - start);
        std::size_t const itemEquals = item.find('=');
        if (first) {
            fields["mode"] = item;
        } else if (itemEquals == std::string::npos) {
            error = "fault field '" + item + "' needs NAME=VALUE";
            return std::nullopt;
        } else {
            fields[item.substr(0, itemEquals)] = item.substr(itemEquals + 1);
        }
        start = comma + 1;
    }
    return BuildFault(fields, error);
}

FaultPlan::FaultPlan(std::string token) : initialToken_(token), token_(std::move(token)) {}

void FaultPlan::Add(Fault fault) {
    std::lock_guard<std::mutex> lock(mutex_);
    faults_.push_back(std::move(fault));
}

std::optional<Fault> FaultPlan::Take(std::string const& path, std::string const& phase) {
    std::lock_guard<std::mutex> lock(mutex_);
    for (auto it = faults_.begin(); it != faults_.end(); ++it) {
        if (!PathMatches(it->path, path) || (!it->phase.empty() && it->phase != phase))
            continue;
        Fault const taken = *it;
        if (taken.mode == FaultMode::Unauthorized401Once && !taken.acceptToken.empty())
            token_ = taken.acceptToken;
        bool const spent = taken.mode == FaultMode::Unauthorized401Once || taken.count == 1;
        if (spent)
            faults_.erase(it);
        else if (it->count > 1)
            --it->count;
        return taken;
    }
    return std::nullopt;
}

bool FaultPlan::AcceptsToken(std::string const& token) const {
    std::lock_guard<std::mutex> lock(mutex_);
    return !token.empty() && token == token_;
}

std::string FaultPlan::AcceptedToken() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return token_;
}

void FaultPlan::Reset(std::vector<Fault> const& runFaults) {
    std::lock_guard<std::mutex> lock(mutex_);
    faults_ = runFaults;
    token_ = initialToken_;
}

std::size_t FaultPlan::Size() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return faults_.size();
}

} // namespace Velmora::DevServer

#include "Sim/CallLog.hpp"

#include <cstdlib>

namespace Velmora::Sim {

CallLog::CallLog(std::thread::id mainThread) : mainThread_(mainThread) {}

void CallLog::AddFault(Fault fault) {
    std::lock_guard<std::mutex> lock(mutex_);
    if (auto read = ModelReadFromName(fault.call))
        readArmed_[static_cast<std::size_t>(*read)] = true;
    faults_.push_back(std::move(fault));
}

void CallLog::CheckReadFault(ModelRead read, std::uint64_t nth) {
    std::string const name = ModelReadName(read);
    bool fires = false;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        for (Fault const& fault : faults_)
            fires =
                fires || (fault.call == name && static_cast<std::uint64_t>(fault.nthCall) == nth);
    }
    if (fires)
        throw SimulatedHostException("simulated host failure in " + name);
}

std::optional<Host::GSErrCode> CallLog::Enter(std::string const& call, bool mainThreadOnly) {
    std::optional<Host::GSErrCode> injected;
    bool raise = false;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        int const nth = ++counts_[call];
        for (Fault const& fault : faults_) {
            if (fault.call == call && fault.nthCall == nth) {
                injected = fault.code;
                raise = fault.raise;
            }
        }
        bool const offMain = mainThreadOnly && std::this_thread::get_id() != mainThread_;
        records_.push_back({call, offMain, injected});
    }
    if (raise)
        throw SimulatedHostException("simulated host failure in " + call);
    return injected;
}

void CallLog::Note(std::string const& text) {
    std::lock_guard<std::mutex> lock(mutex_);
    records_.push_back({text, false, std::nullopt});
}

std::vector<CallRecord> CallLog::Records() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return records_;
}

int CallLog::OffMainThreadCalls() const {
    std::lock_guard<std::mutex> lock(mutex_);
    int count = 0;
    for (CallRecord const& record : records_)
        count += record.offMainThread ? 1 : 0;
    return count;
}

namespace {

// The first ':' that is not part of a "::" in a reader name (ModelerAPI::MeshBody::GetPolygon).
std::size_t NameEnd(std::string const& text) {
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != ':')
            continue;
        if (i + 1 < text.size() && text[i + 1] == ':')
            ++i;
        else
            return i;
    }
    return std::string::npos;
}

} // namespace

std::optional<Fault> ParseFault(std::string const& text, bool raise) {
    Fault fault;
    fault.raise = raise;
    std::size_t const first = NameEnd(text);
    fault.call = text.substr(0, first);
    if (fault.call.empty())
        return std::nullopt;
    if (first == std::string::npos)
        return fault;
    std::size_t const second = text.find(':', first + 1);
    std::string const nth = text.substr(first + 1, second - first - 1);
    char* end = nullptr;
    long const n = std::strtol(nth.c_str(), &end, 10);
    if (nth.empty() || *end != '\0' || n < 1)
        return std::nullopt;
    fault.nthCall = static_cast<int>(n);
    if (second == std::string::npos)
        return fault;
    std::string const code = text.substr(second + 1);
    unsigned long long const value = std::strtoull(code.c_str(), &end, 0);
    if (code.empty() || *end != '\0' || value > 0xFFFFFFFFull)
        return std::nullopt;
    fault.code = static_cast<Host::GSErrCode>(static_cast<std::uint32_t>(value));
    return fault;
}

} // namespace Velmora::Sim

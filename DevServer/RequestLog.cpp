#include "DevServer/RequestLog.hpp"

namespace Velmora::DevServer {

void RequestLog::Add(LoggedRequest entry) {
    std::lock_guard<std::mutex> lock(mutex_);
    if (entries_.size() == kMaxEntries)
        entries_.pop_front();
    entries_.push_back(std::move(entry));
}

nlohmann::json RequestLog::ToJson() const {
    std::lock_guard<std::mutex> lock(mutex_);
    nlohmann::json list = nlohmann::json::array();
    for (LoggedRequest const& entry : entries_) {
        list.push_back({{"method", entry.method},
                        {"path", entry.path},
                        {"status", entry.status},
                        {"authorization", entry.authorization},
                        {"requestBytes", entry.requestBytes},
                        {"responseBytes", entry.responseBytes},
                        {"fault", entry.fault}});
    }
    return {{"requests", list}};
}

void RequestLog::Clear() {
    std::lock_guard<std::mutex> lock(mutex_);
    entries_.clear();
}

} // namespace Velmora::DevServer

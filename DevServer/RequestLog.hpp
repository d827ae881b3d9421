// Every request the server answered, for tests to read back through GET /_control/log.
#pragma once

#include <nlohmann/json.hpp>

#include <cstddef>
#include <deque>
#include <mutex>
#include <string>

namespace Velmora::DevServer {

struct LoggedRequest {
    std::string method;
    std::string path;
    int status = 0; // 0: the connection was dropped without an answer
    bool authorization = false;
    std::size_t requestBytes = 0;
    std::size_t responseBytes = 0;
    std::string fault; // the fault mode applied, empty when none
};

class RequestLog {
public:
    void Add(LoggedRequest entry);
    nlohmann::json ToJson() const;
    void Clear();

private:
    // The oldest entries go first, so that a long run cannot grow the log without bound.
    static constexpr std::size_t kMaxEntries = 10000;
    mutable std::mutex mutex_;
    std::deque<LoggedRequest> entries_;
};

} // namespace Velmora::DevServer

// Holds page requests until released, so that a test can keep a document loading for as
// long as it needs.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>

namespace Velmora::DevServer {

class PageHold {
public:
    // Blocks until a Release after this call, Close, or the longest wait; true when released.
    bool Wait(std::chrono::milliseconds longest);
    // Lets every request waiting now go.
    void Release();
    // Lets every request go, now and later (the service is stopping).
    void Close();

private:
    std::mutex mutex_;
    std::condition_variable released_;
    std::uint64_t releases_ = 0;
    bool closed_ = false;
};

} // namespace Velmora::DevServer

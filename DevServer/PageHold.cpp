#include "DevServer/PageHold.hpp"

namespace Velmora::DevServer {

bool PageHold::Wait(std::chrono::milliseconds longest) {
    std::unique_lock<std::mutex> lock(mutex_);
    std::uint64_t const before = releases_;
    return released_.wait_for(lock, longest, [&] { return closed_ || releases_ != before; });
}

void PageHold::Release() {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        ++releases_;
    }
    released_.notify_all();
}

void PageHold::Close() {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        closed_ = true;
    }
    released_.notify_all();
}

} // namespace Velmora::DevServer

#include "Sim/EventLoop.hpp"

#include <algorithm>

namespace Velmora::Sim {

namespace {
// How often a settling loop looks at work that does not announce itself (sleeping threads).
constexpr auto kPollStep = std::chrono::milliseconds(5);
} // namespace

void EventLoop::Enqueue(std::function<void()> call) {
    {
        std::lock_guard<std::mutex> lock(mutex_);
        queue_.push_back(std::move(call));
    }
    wake_.notify_all();
}

std::size_t EventLoop::Pending() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return queue_.size();
}

bool EventLoop::RunOne(Clock::time_point deadline) {
    std::function<void()> call;
    {
        std::unique_lock<std::mutex> lock(mutex_);
        if (!wake_.wait_until(lock, deadline, [this] { return !queue_.empty(); }))
            return false;
        call = std::move(queue_.front());
        queue_.pop_front();
    }
    call();
    return true;
}

void EventLoop::RunUntil(Clock::time_point deadline) {
    while (Clock::now() < deadline)
        RunOne(deadline);
}

bool EventLoop::RunUntilSettled(std::function<bool()> const& done, Clock::time_point deadline) {
    for (;;) {
        if (Pending() == 0 && done())
            return true;
        if (Clock::now() >= deadline)
            return false;
        RunOne(std::min(deadline, Clock::now() + kPollStep));
    }
}

} // namespace Velmora::Sim

// The simulated host's main event loop: other threads queue requests to call the add-on's
// own command; the main thread runs them, one handler call per request, like the host.
#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>

namespace Velmora::Sim {

class EventLoop {
public:
    using Clock = std::chrono::steady_clock;

    // Callable from any thread.
    void Enqueue(std::function<void()> call);
    std::size_t Pending() const;

    // Main thread only: runs queued calls until the deadline, sleeping while there are none.
    void RunUntil(Clock::time_point deadline);
    // Runs until done() holds with nothing queued, or the deadline passes; returns done().
    bool RunUntilSettled(std::function<bool()> const& done, Clock::time_point deadline);

private:
    bool RunOne(Clock::time_point deadline);

    mutable std::mutex mutex_;
    std::condition_variable wake_;
    std::deque<std::function<void()>> queue_;
};

} // namespace Velmora::Sim

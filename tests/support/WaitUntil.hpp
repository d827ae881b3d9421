// Waits for work on other threads to show its effect, for at most ten seconds.
#pragma once

#include <chrono>
#include <functional>
#include <thread>

namespace Velmora::Testing {

inline bool WaitUntil(std::function<bool()> const& condition) {
    using namespace std::chrono_literals;
    auto const deadline = std::chrono::steady_clock::now() + 10s;
    while (!condition() && std::chrono::steady_clock::now() < deadline)
        std::this_thread::sleep_for(5ms);
    return condition();
}

} // namespace Velmora::Testing

#include "BackgroundWork.hpp"

#include "Host/HostPort.hpp"
#include "Logger.hpp"
#include "MainThreadDispatcher.hpp"

#include <atomic>
#include <condition_variable>
#include <exception>
#include <map>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

namespace Velmora::BackgroundWork {

namespace {

using StopFlag = std::shared_ptr<std::atomic<bool>>;

struct Worker {
    std::string name;
    std::thread thread;
    StopFlag stop;
    bool done = false;
};

// Never destroyed: a thread still running at process exit must not meet a destroyed registry
// (or a joinable std::thread in a static destructor, which terminates the process).
struct Registry {
    std::mutex mutex;
    std::condition_variable changed; // a thread ended or was asked to stop
    std::map<WorkId, Worker> workers;
    WorkId nextId = 1;
};

Registry& State() {
    static Registry* const registry = new Registry;
    return *registry;
}

thread_local std::atomic<bool> const* tStop = nullptr;

void TellTheUser(std::string const& failureReport) {
    MainThreadDispatcher::Post([failureReport] { Host::Get().WriteReport(failureReport, true); });
}

void ReportEscape(std::string const& name, char const* what, std::string const& failureReport) {
    try {
        Logger::Get().Log(LogLevel::Error, name + ": thread stopped by an exception: " + what);
        if (!failureReport.empty())
            TellTheUser(failureReport);
    } catch (...) {
        // Nothing more can be done on this thread; it must still end quietly.
    }
}

void RunAtEdge(std::string const& name, std::function<void()> const& body,
               std::string const& failureReport) {
    try {
        body();
    } catch (std::exception const& e) {
        ReportEscape(name, e.what(), failureReport);
    } catch (...) {
        ReportEscape(name, "unknown exception", failureReport);
    }
}

void MarkDone(WorkId id) {
    Registry& registry = State();
    {
        std::lock_guard<std::mutex> lock(registry.mutex);
        auto found = registry.workers.find(id);
        if (found != registry.workers.end())
            found->second.done = true;
    }
    registry.changed.notify_all();
}

// Caller holds the mutex. Threads that have ended are taken out to be joined outside it.
std::vector<std::thread> TakeFinished(Registry& registry) {
    std::vector<std::thread> finished;
    for (auto it = registry.workers.begin(); it != registry.workers.end();) {
        if (it->second.done) {
            finished.push_back(std::move(it->second.thread));
            it = registry.workers.erase(it);
        } else {
            ++it;
        }
    }
    return finished;
}

void JoinAll(std::vector<std::thread>& threads) {
    for (std::thread& thread : threads) {
        if (thread.joinable())
            thread.join();
    }
}

bool AllDone(Registry const& registry) {
    for (auto const& entry : registry.workers) {
        if (!entry.second.done)
            return false;
    }
    return true;
}

} // namespace

WorkId Start(std::string name, std::function<void()> body, std::string failureReport) {
    Registry& registry = State();
    // A thread that is being stopped starts only threads that are stopped already.
    auto stop = std::make_shared<std::atomic<bool>>(StopRequested());
    std::vector<std::thread> finished;
    WorkId id = 0;
    {
        std::lock_guard<std::mutex> lock(registry.mutex);
        finished = TakeFinished(registry);
        id = registry.nextId++;
        Worker& worker = registry.workers[id];
        worker.name = name;
        worker.stop = stop;
        try {
            // Under the lock, so that the thread cannot mark itself done before it is listed.
            worker.thread = std::thread([id, stop, name = std::move(name), body = std::move(body),
                                         failureReport = std::move(failureReport)]() mutable {
                tStop = stop.get();
                {
                    // What the work holds is released before the thread counts as ended.
                    std::function<void()> const work = std::move(body);
                    RunAtEdge(name, work, failureReport);
                }
                MarkDone(id);
            });
        } catch (...) {
            registry.workers.erase(id);
            throw;
        }
    }
    JoinAll(finished);
    return id;
}

bool StopRequested() {
    return tStop != nullptr && tStop->load();
}

bool SleepFor(std::chrono::milliseconds duration) {
    if (tStop == nullptr) {
        std::this_thread::sleep_for(duration);
        return true;
    }
    Registry& registry = State();
    std::unique_lock<std::mutex> lock(registry.mutex);
    return !registry.changed.wait_for(lock, duration, [] { return tStop->load(); });
}

void StopAndJoin(WorkId id) {
    Registry& registry = State();
    std::thread thread;
    {
        std::lock_guard<std::mutex> lock(registry.mutex);
        auto found = registry.workers.find(id);
        if (found == registry.workers.end())
            return;
        found->second.stop->store(true);
        thread = std::move(found->second.thread);
        registry.workers.erase(found);
    }
    registry.changed.notify_all();
    if (thread.joinable())
        thread.join();
}

std::size_t StopAll(std::chrono::milliseconds timeout) {
    Registry& registry = State();
    std::vector<std::thread> finished;
    std::vector<std::string> stuck;
    {
        std::unique_lock<std::mutex> lock(registry.mutex);
        for (auto& entry : registry.workers)
            entry.second.stop->store(true);
        registry.changed.notify_all();
        registry.changed.wait_for(lock, timeout, [&registry] { return AllDone(registry); });
        finished = TakeFinished(registry);
        // Let go, but still listed (and counted as running) until they end.
        for (auto& entry : registry.workers) {
            stuck.push_back(entry.second.name);
            if (entry.second.thread.joinable())
                entry.second.thread.detach();
        }
    }
    JoinAll(finished);
    for (std::string const& name : stuck)
        Logger::Get().Log(LogLevel::Error, "Velmora: " + name + " thread did not stop in time");
    return stuck.size();
}

std::size_t Running() {
    Registry& registry = State();
    std::lock_guard<std::mutex> lock(registry.mutex);
    std::size_t running = 0;
    for (auto const& entry : registry.workers)
        running += entry.second.done ? 0 : 1;
    return running;
}

} // namespace Velmora::BackgroundWork

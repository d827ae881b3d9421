#include "MainThreadDispatcher.hpp"

#include "BackgroundWork.hpp"
#include "Host/HostPort.hpp"
#include "HostEntry.hpp"
#include "Logger.hpp"
#include "ResourceIds.hpp"

#include <atomic>
#include <chrono>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

namespace Velmora {

namespace {

using WorkQueue = std::vector<std::function<void()>>;

WorkQueue gQueue;
std::mutex gMutex;
// Delayed posts whose sleeper thread has not yet handed its work to the queue.
std::atomic<int> gPendingSleepers{0};

constexpr int kRetryDelayMs = 100;
constexpr int kRetryRounds = 50;

void Enqueue(std::function<void()> fn) {
    std::lock_guard<std::mutex> lock(gMutex);
    gQueue.push_back(std::move(fn));
}

WorkQueue TakeQueue() {
    WorkQueue taken;
    std::lock_guard<std::mutex> lock(gMutex);
    taken.swap(gQueue);
    return taken;
}

// Runs what was queued before this call; work posted meanwhile waits for the next dispatch,
// so a function that posts again cannot keep the host's event loop busy.
void RunQueued() {
    WorkQueue const work = TakeQueue();
    for (std::function<void()> const& fn : work)
        fn();
}

// Posted work belongs to no one the user could be told about here: a throw is only logged.
constexpr HostEntry kDispatchEntry{"MainThreadDispatcher", false, true};

Host::GSErrCode DispatchCommandHandler(Host::GSHandle /*params*/, Host::GSPtr /*resultData*/,
                                       bool /*silentMode*/) {
    return GuardHostEntry(kDispatchEntry, Host::Error::General, [] {
        RunQueued();
        return Host::Error::NoError;
    });
}

// Any thread: a request that throws counts as refused, so that no poster's thread dies of it.
Host::GSErrCode RequestDispatch() {
    Host::API_ModulID const self = MainThreadDispatcher::OwnModuleId();
    try {
        return Host::Get().AddOnAddOnCommunication().CallFromEventLoop(
            &self, MainThreadDispatcher::kCommandId, MainThreadDispatcher::kCommandVersion, nullptr,
            true, nullptr);
    } catch (...) {
        return Host::Error::General;
    }
}

bool QueueEmpty() {
    std::lock_guard<std::mutex> lock(gMutex);
    return gQueue.empty();
}

// Counts a delayed post (or a retry) as pending for as long as its thread holds work.
class PendingSleeper {
public:
    PendingSleeper() { gPendingSleepers.fetch_add(1); }
    ~PendingSleeper() { gPendingSleepers.fetch_sub(1); }
    PendingSleeper(PendingSleeper const&) = delete;
    PendingSleeper& operator=(PendingSleeper const&) = delete;
};

// After a refused request the queued work would wait for some unrelated later post, which may
// never come (an extraction would stay in flight for good): ask again a little later, until a
// request is accepted, the queue has been run, or about five seconds have passed.
void AskAgainUntilAccepted() {
    for (int round = 0; round < kRetryRounds && !QueueEmpty(); ++round) {
        if (!BackgroundWork::SleepFor(std::chrono::milliseconds(kRetryDelayMs)))
            return;
        if (QueueEmpty() || RequestDispatch() == Host::Error::NoError)
            return;
    }
}

void RequestDispatchLater() {
    auto pending = std::make_shared<PendingSleeper>();
    try {
        BackgroundWork::Start("MainThreadDispatcher retry", [pending] { AskAgainUntilAccepted(); });
    } catch (...) {
        // No thread: the item waits for the next post or DrainNow.
    }
}

// Work whose delay is cut short by a stop is dropped unrun, as at unload.
void SleepThenPost(int delayMs, std::function<void()> const& fn) {
    if (delayMs > 0 && !BackgroundWork::SleepFor(std::chrono::milliseconds(delayMs)))
        return;
    MainThreadDispatcher::Post(fn);
}

} // namespace

Host::GSErrCode MainThreadDispatcher::RegisterService() {
    return Host::Get().AddOnAddOnCommunication().RegisterSupportedService(kCommandId,
                                                                          kCommandVersion);
}

Host::GSErrCode MainThreadDispatcher::InstallHandler() {
    return Host::Get().AddOnIntegration().InstallModulCommandHandler(kCommandId, kCommandVersion,
                                                                     DispatchCommandHandler);
}

void MainThreadDispatcher::Post(std::function<void()> fn) {
    // A thread told to stop is on its way out with the add-on: what it posts would never run.
    if (!fn || BackgroundWork::StopRequested())
        return;
    Enqueue(std::move(fn));
    if (RequestDispatch() != Host::Error::NoError) {
        Logger::Get().Log(LogLevel::Warn,
                          "MainThreadDispatcher: CallFromEventLoop failed, item deferred");
        RequestDispatchLater();
    }
}

void MainThreadDispatcher::PostAfter(int delayMs, std::function<void()> fn) {
    if (!fn)
        return;
    auto pending = std::make_shared<PendingSleeper>();
    BackgroundWork::Start("MainThreadDispatcher delayed post",
                          [pending, delayMs, fn = std::move(fn)] { SleepThenPost(delayMs, fn); });
}

Host::GSErrCode MainThreadDispatcher::DrainNow() {
    RunQueued();
    return Host::Error::NoError;
}

void MainThreadDispatcher::DropQueued() {
    WorkQueue const dropped = TakeQueue();
    if (!dropped.empty())
        Logger::Get().Log(LogLevel::Info,
                          "MainThreadDispatcher: " + std::to_string(dropped.size()) +
                              " queued item(s) dropped");
}

bool MainThreadDispatcher::IsIdle() {
    if (gPendingSleepers.load() != 0)
        return false;
    std::lock_guard<std::mutex> lock(gMutex);
    return gQueue.empty();
}

Host::API_ModulID MainThreadDispatcher::OwnModuleId() {
    Host::API_ModulID id;
    id.developerID = VELMORA_MDID_DEVELOPER;
    id.localID = VELMORA_MDID_LOCAL;
    return id;
}

} // namespace Velmora

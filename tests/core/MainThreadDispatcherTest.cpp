// Handing work to the host's main thread: order, deferral, delays, and the lock's reach.
#include "MainThreadDispatcher.hpp"
#include "Logger.hpp"
#include "ResourceIds.hpp"
#include "support/FakeHost.hpp"
#include "support/TempHome.hpp"

#include <chrono>
#include <future>
#include <memory>
#include <thread>
#include <vector>

namespace Velmora::Testing {
namespace {

using namespace std::chrono_literals;
using testing::_;
using testing::AllOf;
using testing::DoDefault;
using testing::Field;
using testing::Invoke;
using testing::NotNull;
using testing::Pointee;
using testing::Return;

constexpr char kDeferredWarning[] =
    "[WARN ] MainThreadDispatcher: CallFromEventLoop failed, item deferred";

bool WaitUntil(std::function<bool()> const& condition) {
    auto const deadline = std::chrono::steady_clock::now() + 10s;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline)
            return false;
        std::this_thread::sleep_for(5ms);
    }
    return true;
}

// Runs work on another thread; if the caller holds the dispatcher's lock, it cannot finish.
struct Probe {
    std::thread thread;
    bool finished = false;
};

Probe RunElsewhere(std::function<void()> work) {
    auto done = std::make_shared<std::promise<void>>();
    std::future<void> finished = done->get_future();
    Probe probe;
    probe.thread = std::thread([done, work] {
        work();
        done->set_value();
    });
    probe.finished = finished.wait_for(5s) == std::future_status::ready;
    return probe;
}

std::size_t Count(std::string const& text, std::string const& part) {
    std::size_t count = 0;
    for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
        ++count;
    return count;
}

class DispatcherTest : public HostTest {
protected:
    DispatcherTest() {
        MainThreadDispatcher::InstallHandler();
        Logger::Get().Init();
    }
    ~DispatcherTest() override {
        WaitUntil([] { return MainThreadDispatcher::IsIdle(); }); // delayed posts still asleep
        MainThreadDispatcher::DrainNow();
        Logger::Get().Shutdown();
    }
    std::string LogText() const { return ReadFile(home.LogFolder() / "velmora.log"); }

    TempHome home;
    std::vector<int> ran;
};

TEST_F(DispatcherTest, EachPostAsksTheHostToCallTheOwnCommandWhichRunsItemsInOrder) {
    Host::APIModulCommandProc* installed = nullptr;
    EXPECT_CALL(host.communication, RegisterSupportedService(0x564C4D6Du, 1));
    EXPECT_CALL(host.integration, InstallModulCommandHandler(0x564C4D6Du, 1, NotNull()))
        .WillOnce(Invoke([&](Host::GSType, Host::Int32, Host::APIModulCommandProc* proc) {
            installed = proc;
            return Host::Error::NoError;
        }));
    auto const self = Pointee(AllOf(Field(&Host::API_ModulID::developerID, VELMORA_MDID_DEVELOPER),
                                    Field(&Host::API_ModulID::localID, VELMORA_MDID_LOCAL)));
    EXPECT_CALL(host.communication, CallFromEventLoop(self, 0x564C4D6Du, 1, nullptr, true, nullptr))
        .Times(3);
    ASSERT_EQ(MainThreadDispatcher::RegisterService(), Host::Error::NoError);
    ASSERT_EQ(MainThreadDispatcher::InstallHandler(), Host::Error::NoError);

    MainThreadDispatcher::Post({}); // empty work: neither queued nor requested
    MainThreadDispatcher::PostAfter(0, {});
    MainThreadDispatcher::PostAfter(50, std::function<void()>(static_cast<void (*)()>(nullptr)));
    EXPECT_TRUE(MainThreadDispatcher::IsIdle());
    for (int i = 1; i <= 3; ++i)
        MainThreadDispatcher::Post([this, i] { ran.push_back(i); });
    EXPECT_FALSE(MainThreadDispatcher::IsIdle());

    ASSERT_EQ(installed(nullptr, nullptr, true), Host::Error::NoError);
    EXPECT_EQ(ran, (std::vector<int>{1, 2, 3})); // one dispatch takes all that is queued
    EXPECT_TRUE(MainThreadDispatcher::IsIdle());
    host.RunEventLoop(); // the three requests now find nothing
    EXPECT_EQ(ran.size(), 3u);
}

TEST_F(DispatcherTest, TheLockIsNeverHeldAcrossHostCallsOrPostedWork) {
    Probe duringRequest;
    bool queuedBeforeRequest = false;
    EXPECT_CALL(host.communication, CallFromEventLoop(_, _, _, _, _, _))
        .WillOnce(Invoke([&](auto...) {
            duringRequest =
                RunElsewhere([&] { queuedBeforeRequest = !MainThreadDispatcher::IsIdle(); });
            return Host::Error::NoError;
        }))
        .WillRepeatedly(DoDefault());
    Probe duringWork;
    MainThreadDispatcher::Post([&] {
        duringWork =
            RunElsewhere([this] { MainThreadDispatcher::Post([this] { ran.push_back(2); }); });
        ran.push_back(1);
    });
    duringRequest.thread.join();
    EXPECT_TRUE(duringRequest.finished);
    EXPECT_TRUE(queuedBeforeRequest);

    MainThreadDispatcher::DrainNow();
    duringWork.thread.join();
    EXPECT_TRUE(duringWork.finished);
    EXPECT_EQ(ran, std::vector<int>{1}); // posted during a dispatch: waits for the next one
    EXPECT_EQ(host.PendingEventLoopCalls(), 1);
    host.RunEventLoop();
    EXPECT_EQ(ran, (std::vector<int>{1, 2}));
}

TEST_F(DispatcherTest, AFailedRequestKeepsTheItemForTheNextDispatchOrDrainNow) {
    EXPECT_CALL(host.communication, CallFromEventLoop(_, _, _, _, _, _))
        .WillOnce(Return(Host::Error::General))
        .WillOnce(DoDefault())
        .WillRepeatedly(Return(Host::Error::ModulNotInstalled));
    MainThreadDispatcher::Post([this] { ran.push_back(1); });
    EXPECT_FALSE(MainThreadDispatcher::IsIdle());
    host.RunEventLoop();
    EXPECT_TRUE(ran.empty());
    MainThreadDispatcher::Post([this] { ran.push_back(2); });
    host.RunEventLoop();
    EXPECT_EQ(ran, (std::vector<int>{1, 2}));

    MainThreadDispatcher::Post([this] { ran.push_back(3); });
    MainThreadDispatcher::Post([this] { ran.push_back(4); });
    host.RunEventLoop();
    EXPECT_EQ(ran.size(), 2u);
    EXPECT_EQ(MainThreadDispatcher::DrainNow(), Host::Error::NoError);
    EXPECT_EQ(ran, (std::vector<int>{1, 2, 3, 4}));
    EXPECT_EQ(Count(LogText(), kDeferredWarning), 3u);
}

TEST_F(DispatcherTest, DelayedPostsSleepOnTheirOwnThreadAndCountAsPendingUntilPosted) {
    MainThreadDispatcher::PostAfter(1000, [this] { ran.push_back(1); });
    EXPECT_EQ(host.PendingEventLoopCalls(), 0); // the caller did not wait for the delay
    EXPECT_FALSE(MainThreadDispatcher::IsIdle());
    ASSERT_TRUE(WaitUntil([&] { return host.PendingEventLoopCalls() == 1; }));
    host.RunEventLoop();
    EXPECT_EQ(ran, std::vector<int>{1});
    EXPECT_TRUE(MainThreadDispatcher::IsIdle());

    // Zero and negative delays post at once, yet still from the new thread.
    std::mutex mutex;
    std::vector<std::thread::id> requesters;
    ON_CALL(host.communication, CallFromEventLoop(_, _, _, _, _, _))
        .WillByDefault(Invoke([&](auto...) {
            std::lock_guard<std::mutex> lock(mutex);
            requesters.push_back(std::this_thread::get_id());
            return Host::Error::NoError;
        }));
    for (int delay : {0, -1, -1000000})
        MainThreadDispatcher::PostAfter(delay, [this, delay] { ran.push_back(delay); });
    ASSERT_TRUE(WaitUntil([&] {
        std::lock_guard<std::mutex> lock(mutex);
        return requesters.size() == 3;
    }));
    for (std::thread::id requester : requesters)
        EXPECT_NE(requester, std::this_thread::get_id());
    MainThreadDispatcher::DrainNow();
    EXPECT_THAT(ran, testing::UnorderedElementsAre(1, 0, -1, -1000000));
}

TEST_F(DispatcherTest, PostsFromManyThreadsEachRunOnceInTheirThreadsOrder) {
    constexpr int kThreads = 4;
    constexpr int kPerThread = 250;
    std::vector<std::pair<int, int>> seen; // touched only by posted work, on this thread
    std::vector<std::thread> posters;
    for (int t = 0; t < kThreads; ++t)
        posters.emplace_back([&seen, t] {
            for (int i = 0; i < kPerThread; ++i)
                MainThreadDispatcher::Post([&seen, t, i] { seen.emplace_back(t, i); });
        });
    ASSERT_TRUE(WaitUntil([&] {
        host.RunEventLoop();
        return seen.size() == std::size_t(kThreads * kPerThread);
    }));
    for (std::thread& poster : posters)
        poster.join();
    std::vector<int> next(kThreads, 0);
    for (auto [thread, index] : seen)
        EXPECT_EQ(index, next[std::size_t(thread)]++);
    host.RunEventLoop();
    EXPECT_EQ(seen.size(), std::size_t(kThreads * kPerThread));
}

} // namespace
} // namespace Velmora::Testing

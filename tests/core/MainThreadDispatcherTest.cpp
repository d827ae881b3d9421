// Handing work to the host's main thread: order, deferral, delays, and the lock's reach.
#include "MainThreadDispatcher.hpp"
#include "Logger.hpp"
#include "ResourceIds.hpp"
#include "support/AddOnTest.hpp"
#include "support/WaitUntil.hpp"

#include <chrono>
#include <future>
#include <stdexcept>
#include <thread>

namespace Velmora::Testing {
namespace {

using namespace std::chrono_literals;

// Whether work started on another thread ends soon, which it cannot while this thread holds
// the dispatcher's lock. Declared after what `work` touches, the future joins it in time.
bool FinishesElsewhere(std::future<void>& task, std::function<void()> work) {
    task = std::async(std::launch::async, std::move(work));
    return task.wait_for(5s) == std::future_status::ready;
}

class DispatcherTest : public AddOnTest {
protected:
    DispatcherTest() {
        MainThreadDispatcher::InstallHandler();
        Logger::Get().Init();
    }
    ~DispatcherTest() override {
        WaitUntil(MainThreadDispatcher::IsIdle); // delayed posts may still be asleep
        MainThreadDispatcher::DrainNow();        // while `ran` still exists
    }
    std::function<void()> Record(int value) {
        return [this, value] { ran.push_back(value); };
    }

    std::vector<int> ran; // touched only by posted work, on this thread
};

TEST_F(DispatcherTest, EachPostRequestsTheOwnCommandOutsideTheLockAndAFailedRequestDefers) {
    constexpr Host::GSType kCommand = 0x564C4D6Du; // 'VLMm'
    bool requestUnlocked = false, queuedBeforeRequest = false, workUnlocked = false;
    std::future<void> duringRequest, duringWork;
    auto const self =
        testing::Pointee(testing::FieldsAre(VELMORA_MDID_DEVELOPER, VELMORA_MDID_LOCAL));
    EXPECT_CALL(host.communication, CallFromEventLoop(self, kCommand, 1, nullptr, true, nullptr))
        .WillOnce(testing::Invoke([&](auto...) {
            requestUnlocked = FinishesElsewhere(
                duringRequest, [&] { queuedBeforeRequest = !MainThreadDispatcher::IsIdle(); });
            return Host::Error::General;
        }))
        .WillOnce(testing::DoDefault())
        .WillRepeatedly(testing::Return(Host::Error::ModulNotInstalled));
    MainThreadDispatcher::Post(Record(1)); // its request fails
    host.RunEventLoop();
    EXPECT_TRUE(ran.empty());
    MainThreadDispatcher::Post([&] {
        workUnlocked =
            FinishesElsewhere(duringWork, [&] { MainThreadDispatcher::Post(Record(3)); });
        ran.push_back(2);
    });
    host.RunEventLoop(); // one dispatch runs all queued before it, oldest first, and no more
    EXPECT_EQ(ran, (std::vector<int>{1, 2}));
    MainThreadDispatcher::Post(Record(4));
    EXPECT_EQ(MainThreadDispatcher::DrainNow(), Host::Error::NoError);
    EXPECT_EQ(ran, (std::vector<int>{1, 2, 3, 4}));
    EXPECT_TRUE(requestUnlocked && queuedBeforeRequest && workUnlocked);
    EXPECT_THAT(LogText(), testing::MatchesRegex("(.{24} \\[WARN \\] MainThreadDispatcher: "
                                                 "CallFromEventLoop failed, item deferred\n){3}"));
}

// Catches work stranded in the queue after a refused (or throwing) request: when nothing else
// posts, an extraction would stay in flight for good and a poster's thread would die.
TEST_F(DispatcherTest, ARefusedRequestIsAskedAgainUntilTheHostAcceptsIt) {
    EXPECT_CALL(host.communication, CallFromEventLoop)
        .WillOnce(testing::Return(Host::Error::General))
        .WillOnce(testing::Throw(std::runtime_error("the host threw")))
        .WillRepeatedly(testing::DoDefault());
    MainThreadDispatcher::Post(Record(1));
    EXPECT_TRUE(WaitUntil([&] {
        host.RunEventLoop();
        return ran.size() == 1;
    }));
    EXPECT_TRUE(WaitUntil(MainThreadDispatcher::IsIdle));
}

TEST_F(DispatcherTest, DelayedPostsSleepOnThreadsOfTheirOwnAndCountAsPendingUntilPosted) {
    auto const start = std::chrono::steady_clock::now();
    MainThreadDispatcher::PostAfter(500, Record(500));
    EXPECT_FALSE(MainThreadDispatcher::IsIdle()); // asleep, yet pending
    for (int i = 0; i < 20; ++i) // zero and negative delays post at once, racing the dispatches
        MainThreadDispatcher::PostAfter(-i, Record(i));
    ASSERT_TRUE(WaitUntil([&] {
        host.RunEventLoop();
        return ran.size() == 21;
    }));
    EXPECT_GE(std::chrono::steady_clock::now() - start, 500ms);
    EXPECT_EQ(ran.back(), 500); // the caller did not wait for the delay
    EXPECT_TRUE(WaitUntil(MainThreadDispatcher::IsIdle));
}

} // namespace
} // namespace Velmora::Testing

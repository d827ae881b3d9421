// The add-on's threads have one owner: FreeData stops and joins them all, nothing they were
// about to do runs afterwards, and an exception never leaves a thread.
#include "BackgroundWork.hpp"
#include "AddOnMain.hpp"
#include "Extract/ExtractCommand.hpp"
#include "Logger.hpp"
#include "MainThreadDispatcher.hpp"
#include "Settings.hpp"
#include "Upload/Uploader.hpp"
#include "support/AddOnTest.hpp"
#include "support/WaitUntil.hpp"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <future>
#include <stdexcept>
#include <thread>

namespace Velmora::Testing {
namespace {

using namespace std::chrono_literals;

// Accepts connections (the kernel does, into its backlog) and never answers: a request to it
// stays in flight until its thread gives up.
class SilentServer {
public:
    SilentServer() {
        socket_ = ::socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t length = sizeof address;
        auto* const raw = reinterpret_cast<sockaddr*>(&address);
        if (socket_ < 0 || ::bind(socket_, raw, length) != 0 || ::listen(socket_, 4) != 0 ||
            ::getsockname(socket_, raw, &length) != 0)
            throw std::runtime_error("no loopback listener");
        port_ = ntohs(address.sin_port);
    }
    ~SilentServer() { ::close(socket_); }
    SilentServer(SilentServer const&) = delete;
    SilentServer& operator=(SilentServer const&) = delete;

    std::string Url() const { return "http://127.0.0.1:" + std::to_string(port_) + "/upload"; }
    // True once a client has connected (and is waiting for its answer).
    bool WaitForClient() const {
        pollfd waiting{socket_, POLLIN, 0};
        return ::poll(&waiting, 1, 10000) == 1;
    }

private:
    int socket_ = -1;
    unsigned port_ = 0;
};

class BackgroundWorkTest : public AddOnTest {
protected:
    BackgroundWorkTest() {
        MainThreadDispatcher::InstallHandler();
        Logger::Get().Init();
    }
    ~BackgroundWorkTest() override { BackgroundWork::StopAll(10s); }
};

// Catches threads outliving FreeData (a sleeper, a delayed post, an upload waiting for an
// answer that never comes) and work of theirs running or being queued after it.
TEST_F(BackgroundWorkTest, StopAllEndsSleepersDelayedPostsAndRequestsInFlight) {
    SilentServer server;
    std::atomic<bool> delayedRan{false};
    MainThreadDispatcher::PostAfter(60000, [&] { delayedRan = true; });
    BackgroundWork::Start("sleeper", [] { BackgroundWork::SleepFor(std::chrono::hours(1)); });
    std::promise<UploadResult> outcome;
    UploadRequest request;
    request.imageBytes = {0xFF, 0xD8, 0xFF, 0xD9};
    request.imageMime = "image/jpeg";
    Uploader::Post(
        server.Url(), "token", request, [&](UploadResult const& r) { outcome.set_value(r); },
        nullptr);
    ASSERT_TRUE(server.WaitForClient());
    EXPECT_EQ(BackgroundWork::Running(), 3u);

    EXPECT_EQ(BackgroundWork::StopAll(10s), 0u); // every one of them honoured its stop
    EXPECT_EQ(BackgroundWork::Running(), 0u);
    EXPECT_EQ(outcome.get_future().get().outcome, UploadOutcome::Network);
    host.RunEventLoop();
    MainThreadDispatcher::DrainNow();
    EXPECT_FALSE(delayedRan);
    EXPECT_TRUE(MainThreadDispatcher::IsIdle()); // the stopped upload posted nothing
}

// Catches a stop that sticks: after an unload, the reloaded add-on's new threads would all
// end at once.
TEST_F(BackgroundWorkTest, ThreadsStartedAfterAStopRunNormally) {
    BackgroundWork::Start("sleeper", [] { BackgroundWork::SleepFor(std::chrono::hours(1)); });
    BackgroundWork::StopAll(10s);
    std::promise<bool> sleptFully;
    BackgroundWork::Start("later", [&] { sleptFully.set_value(BackgroundWork::SleepFor(20ms)); });
    EXPECT_TRUE(sleptFully.get_future().get());
    EXPECT_FALSE(BackgroundWork::StopRequested()); // not a thread of ours
}

// Catches an exception leaving a thread (the host would end) and a failure the user started
// going unreported, or reported more than once.
TEST_F(BackgroundWorkTest, AnEscapingExceptionIsLoggedAndToldOnceFromTheMainThread) {
    BackgroundWork::Start(
        "Thrower", [] { throw std::runtime_error("boom"); }, "Velmora: the work failed.");
    BackgroundWork::Start("Silent thrower", [] { throw 42; });
    ASSERT_TRUE(WaitUntil([] { return BackgroundWork::Running() == 0; }));
    EXPECT_TRUE(host.Reports().empty()); // only on the main thread
    host.RunEventLoop();
    ASSERT_EQ(host.Reports().size(), 1u);
    EXPECT_EQ(host.Reports()[0].text, "Velmora: the work failed.");
    EXPECT_TRUE(host.Reports()[0].alert);
    std::string const log = LogText();
    EXPECT_THAT(log, testing::HasSubstr("[ERROR] Thrower: thread stopped by an exception: boom"));
    EXPECT_THAT(
        log, testing::HasSubstr("[ERROR] Silent thrower: thread stopped by an exception: unknown"));
}

// Catches FreeData hanging on a thread that ignores its stop, and such a thread going
// unnoticed.
TEST_F(BackgroundWorkTest, AThreadIgnoringItsStopIsReportedNotWaitedForForever) {
    std::atomic<bool> release{false};
    BackgroundWork::Start("Stubborn", [&] {
        while (!release)
            std::this_thread::sleep_for(1ms);
    });
    EXPECT_EQ(BackgroundWork::StopAll(50ms), 1u);
    EXPECT_EQ(BackgroundWork::Running(), 1u);
    EXPECT_THAT(LogText(), testing::HasSubstr("Velmora: Stubborn thread did not stop in time"));
    release = true;
    EXPECT_TRUE(WaitUntil([] { return BackgroundWork::Running() == 0; }));
}

// Catches a delayed capture dropped at unload leaving the extraction marked in flight: the
// reloaded add-on would answer "already in progress" for good.
TEST_F(BackgroundWorkTest, FreeDataDuringTheDelayedCaptureLeavesNoExtractionInFlight) {
    Settings::Get().SetAuthToken("T");
    ASSERT_EQ(RunExtractAndUpload(Settings::Get().extractOptions), Host::Error::NoError);
    ASSERT_TRUE(IsExtractActive());
    EXPECT_CALL(host.view, Get3DWindowSets(testing::_)).Times(0); // the capture never runs
    FreeData();
    EXPECT_FALSE(IsExtractActive());
    EXPECT_EQ(BackgroundWork::Running(), 0u);
    EXPECT_TRUE(MainThreadDispatcher::IsIdle());
    EXPECT_EQ(RunExtractAndUpload(Settings::Get().extractOptions), Host::Error::NoError);
}

} // namespace
} // namespace Velmora::Testing

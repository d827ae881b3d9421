// The guard around every call from the host: whatever the body, the host or the logger throws,
// nothing leaves it, and the user hears at most one message, only for what they started.
#include "HostEntry.hpp"

#include "Logger.hpp"
#include "support/AddOnTest.hpp"

#include <gmock/gmock.h>

#include <stdexcept>

namespace Velmora::Testing {
namespace {

using testing::_;
using testing::HasSubstr;
using testing::Throw;

constexpr HostEntry kUserCommand{"test command", true, true};
constexpr HostEntry kNotification{"test notification", false, true};

class HostEntryTest : public AddOnTest {
protected:
    HostEntryTest() { Logger::Get().Init(); }
};

enum class Thrown { Nothing, StdException, Int };

Host::GSErrCode Body(Thrown thrown) {
    if (thrown == Thrown::StdException)
        throw std::runtime_error("disk on fire");
    if (thrown == Thrown::Int)
        throw 42;
    return 7;
}

// Each row catches: a non-standard exception let through, a throwing KeepInMemory or alert
// let through or stopping the body, an alert for a call the user did not start (or none for
// one they did), and the fallback not returned.
TEST_F(HostEntryTest, NothingLeavesTheGuardAndOnlyUserCallsAlertOnce) {
    struct Case {
        char const* fault;
        HostEntry entry;
        Thrown thrown;
        bool stayThrows, alertThrows;
        Host::GSErrCode result;
        std::size_t alerts;
    } const cases[] = {
        {"a clean call changed", kUserCommand, Thrown::Nothing, false, false, 7, 0},
        {"std exception from a user command", kUserCommand, Thrown::StdException, false, false,
         Host::Error::General, 1},
        {"non-standard exception", kUserCommand, Thrown::Int, false, false, Host::Error::General,
         1},
        {"notification alerts", kNotification, Thrown::StdException, false, false,
         Host::Error::General, 0},
        {"throwing KeepInMemory stops the body", kUserCommand, Thrown::Nothing, true, false, 7, 0},
        {"throwing alert escapes", kUserCommand, Thrown::Int, false, true, Host::Error::General, 1},
    };
    for (Case const& c : cases) {
        SCOPED_TRACE(c.fault);
        testing::Mock::VerifyAndClearExpectations(&host);
        EXPECT_CALL(host, KeepInMemory(true)).WillOnce([&c](bool) {
            if (c.stayThrows)
                throw std::runtime_error("no");
        });
        EXPECT_CALL(host, WriteReport(kUnexpectedErrorMessage, true))
            .Times(static_cast<int>(c.alerts))
            .WillRepeatedly([&c](std::string const&, bool) {
                if (c.alertThrows)
                    throw std::bad_alloc();
            });
        EXPECT_EQ(GuardHostEntry(c.entry, Host::Error::General, [&c] { return Body(c.thrown); }),
                  c.result);
    }
    Logger::Get().Shutdown();
    EXPECT_THAT(LogText(), HasSubstr("Velmora: test command: stopped on an unexpected error: "
                                     "disk on fire"));
    EXPECT_THAT(LogText(), HasSubstr("an exception of unknown type"));
}

// Catches a guard that reaches for the host port when none is installed (that aborts).
TEST_F(HostEntryTest, WithoutAHostPortTheGuardStillOnlyLogs) {
    Host::Install(nullptr);
    EXPECT_EQ(GuardHostEntry(kUserCommand, -1, [] { return Body(Thrown::StdException); }), -1);
    Host::Install(&host);
}

void Fails() {
    throw std::runtime_error("step failed");
}
int gRan = 0;
void Counts() {
    ++gRan;
}

// Catches shutdown steps skipped after one threw (the poller left running, the log left open)
// and one alert per failed step instead of one for the call.
TEST_F(HostEntryTest, EveryStepRunsAfterOneThrewAndTheUserHearsOnce) {
    gRan = 0;
    EXPECT_CALL(host, KeepInMemory(true)).Times(2); // once per call, not per step
    EXPECT_CALL(host, WriteReport(_, true)).Times(1);
    EXPECT_FALSE(RunEveryStep(kUserCommand, {Fails, Counts, Fails, Counts}));
    EXPECT_EQ(gRan, 2);
    EXPECT_TRUE(RunEveryStep(kNotification, {Counts}));
    EXPECT_EQ(gRan, 3);
}

} // namespace
} // namespace Velmora::Testing

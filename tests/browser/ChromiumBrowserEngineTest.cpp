// The real browser engine against the reference service's page: loading notifications, the
// bridge object and its calls, scripts and a clean shutdown.
#include "Sim/ChromiumBrowserEngine.hpp"
#include "browser/BrowserTestSupport.hpp"
#include "support/TempHome.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <unistd.h>

#include <condition_variable>
#include <filesystem>
#include <mutex>

namespace Velmora::Testing {
namespace {

using Sim::BrowserDriverReply;
using Sim::ChromiumBrowserEngine;
using testing::ElementsAre;
using testing::HasSubstr;

namespace fs = std::filesystem;
constexpr auto kPatience = std::chrono::seconds(30);

struct Call {
    std::string object;
    std::string function;
    std::string argument;
};

// Plays the browser item: records what the engine reports and answers page calls.
class Recorder {
public:
    Sim::BrowserEngineEvents Events() {
        Sim::BrowserEngineEvents events;
        events.onLoadingState = [this](bool loading) {
            std::lock_guard<std::mutex> lock(mutex_);
            loading_.push_back(loading);
            changed_.notify_all();
        };
        events.onCall = [this](std::string const& object, std::string const& function,
                               std::string const& argument) {
            std::lock_guard<std::mutex> lock(mutex_);
            calls_.push_back({object, function, argument});
            changed_.notify_all();
            return function == "getAuthToken" ? std::string("\"token-from-addon\"") : "true";
        };
        return events;
    }

    std::vector<bool> AwaitLoadingStates(std::size_t count) {
        std::unique_lock<std::mutex> lock(mutex_);
        changed_.wait_for(lock, kPatience, [&] { return loading_.size() >= count; });
        return loading_;
    }

    std::vector<Call> AwaitCalls(std::size_t count) {
        std::unique_lock<std::mutex> lock(mutex_);
        changed_.wait_for(lock, kPatience, [&] { return calls_.size() >= count; });
        return calls_;
    }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<bool> loading_;
    std::vector<Call> calls_;
};

// Every other process whose environment carries the marker (the driver and its browser
// inherit it).
std::vector<int> ProcessesMarkedWith(std::string const& marker) {
    std::vector<int> found;
    std::error_code ignored;
    for (auto const& entry : fs::directory_iterator("/proc", ignored)) {
        std::string const name = entry.path().filename().string();
        if (name.find_first_not_of("0123456789") != std::string::npos ||
            std::stoi(name) == ::getpid())
            continue;
        if (ReadFile(entry.path() / "environ").find(marker) != std::string::npos)
            found.push_back(std::stoi(name));
    }
    return found;
}

class ChromiumBrowserEngineTest : public testing::Test {
protected:
    void SetUp() override {
        std::string const missing = MissingBrowserTools();
        if (!missing.empty())
            GTEST_SKIP() << "skipped: " << missing;
        ASSERT_GT(service.port, 0);
        marker = "velmora-browser-test-" + std::to_string(::getpid()) + "-" +
                 testing::UnitTest::GetInstance()->current_test_info()->name();
        ::setenv("VELMORA_BROWSER_TEST_MARKER", marker.c_str(), 1);
        std::string error;
        engine = ChromiumBrowserEngine::Launch(error);
        ASSERT_NE(engine, nullptr) << error;
        engine->Connect(recorder.Events());
    }

    BrowserDriverReply Await(std::future<BrowserDriverReply> reply) {
        if (reply.wait_for(kPatience) != std::future_status::ready)
            return {false, "", "no reply"};
        return reply.get();
    }

    // The script's value as JSON text; fails the test when the page refused it.
    std::string Eval(std::string const& script) {
        BrowserDriverReply const reply = Await(engine->Evaluate(script));
        EXPECT_TRUE(reply.ok) << script << ": " << reply.error;
        return reply.value;
    }

    void LoadPage() {
        engine->RegisterObject("velmora", {"getAuthToken", "onAuthToken", "requestExtract", "log"});
        engine->LoadURL(service.Url("/?embed=archicad"));
        ASSERT_THAT(recorder.AwaitLoadingStates(2), ElementsAre(true, false));
        ASSERT_TRUE(Await(engine->WaitUntil("window.__appReady === true", 10000)).ok);
    }

    RunningDevServer service;
    Recorder recorder;
    std::string marker;
    std::unique_ptr<ChromiumBrowserEngine> engine;
};

// Catches a driver that reports only the loads it started itself: after a reload the page
// makes, the add-on would never hear that the new document is ready and lose its bridge.
TEST_F(ChromiumBrowserEngineTest, LoadingStatesFollowLoadsAndThePagesOwnReloads) {
    LoadPage();
    EXPECT_TRUE(engine->ExecuteJS("location.reload();"));
    EXPECT_THAT(recorder.AwaitLoadingStates(4), ElementsAre(true, false, true, false));
    BrowserDriverReply const reload = Await(engine->Reload());
    EXPECT_TRUE(reload.ok) << reload.error;
    EXPECT_THAT(recorder.AwaitLoadingStates(6), ElementsAre(true, false, true, false, true, false));
}

// Catches arguments that do not cross as JSON text, answers that do not resolve the page's
// promise, and an object that a new document no longer has.
TEST_F(ChromiumBrowserEngineTest, BridgeCallsCrossAsJsonAndResolveWithTheAddOnsAnswer) {
    LoadPage();
    struct Case {
        std::string script;
        std::string argument; // as the add-on receives it
        std::string answer;   // as the page's promise resolves
    };
    std::vector<Case> const cases = {
        {"window.velmora.log('hi \"there\"')", R"("hi \"there\"")", "true"},
        {"window.velmora.log()", "null", "true"},
        {"window.velmora.requestExtract('{\"includeMask\":true}')", R"("{\"includeMask\":true}")",
         "true"},
        {"window.velmora.onAuthToken(42)", "42", "true"},
        {"window.velmora.getAuthToken()", "null", "\"token-from-addon\""},
    };
    for (std::size_t i = 0; i < cases.size(); ++i) {
        EXPECT_EQ(Eval(cases[i].script), cases[i].answer) << cases[i].script;
        std::vector<Call> const calls = recorder.AwaitCalls(i + 1);
        ASSERT_EQ(calls.size(), i + 1);
        EXPECT_EQ(calls[i].object, "velmora");
        EXPECT_EQ(calls[i].argument, cases[i].argument) << cases[i].script;
    }
    // The add-on registers again after every load; the object must be there either way.
    engine->RegisterObject("velmora", {"getAuthToken", "onAuthToken", "requestExtract", "log"});
    engine->ExecuteJS("location.reload();");
    ASSERT_THAT(recorder.AwaitLoadingStates(4), ElementsAre(true, false, true, false));
    EXPECT_EQ(Eval("typeof window.velmora.requestExtract"), "\"function\"");
}

// Catches scripts that never reach the page's own listener, and a failing script that stops
// the ones after it.
TEST_F(ChromiumBrowserEngineTest, ScriptsReachThePageAndAFailingOneStopsNothing) {
    LoadPage();
    EXPECT_TRUE(engine->ExecuteJS("this is not javascript"));
    EXPECT_TRUE(engine->ExecuteJS(
        R"(window.postMessage({"action":"extractionProgress","data":{"progress":40,"status":"Uploading","kind":"view","source":"ArchiCAD"}},"*");)"));
    ASSERT_TRUE(Await(engine->WaitUntil("window.__events.length === 1", 10000)).ok);
    EXPECT_EQ(Eval("document.getElementById('progress-text').textContent"),
              "\"40% \xC2\xB7 Uploading\"");
    EXPECT_EQ(Eval("window.__events[0].data.progress"), "40");
}

// Catches a shutdown that leaves the driver as a zombie or the browser running.
TEST_F(ChromiumBrowserEngineTest, DestructionLeavesNoDriverOrBrowserBehind) {
    LoadPage();
    ASSERT_FALSE(ProcessesMarkedWith(marker).empty()) << "the marker did not reach the driver";
    engine.reset();
    // Chromium's helpers end a moment after the browser itself.
    auto const deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!ProcessesMarkedWith(marker).empty() && std::chrono::steady_clock::now() < deadline)
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    EXPECT_THAT(ProcessesMarkedWith(marker), testing::IsEmpty());
}

// Catches page actions that hang or pass when the page refuses them.
TEST_F(ChromiumBrowserEngineTest, RefusedPageActionsSayWhy) {
    LoadPage();
    BrowserDriverReply const thrown = Await(engine->Evaluate("throw new Error('nope')"));
    EXPECT_FALSE(thrown.ok);
    EXPECT_THAT(thrown.error, HasSubstr("nope"));
    BrowserDriverReply const missing = Await(engine->Click("#no-such-button", 300));
    EXPECT_FALSE(missing.ok);
    EXPECT_THAT(missing.error, HasSubstr("Timeout"));
    BrowserDriverReply const never = Await(engine->WaitUntil("false", 300));
    EXPECT_FALSE(never.ok);
    EXPECT_THAT(never.error, HasSubstr("not true within 300 ms"));
}

} // namespace
} // namespace Velmora::Testing

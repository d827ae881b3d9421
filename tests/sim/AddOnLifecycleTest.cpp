// The host's keep-in-memory rule, against a scripted add-on: when it unloads, when it loads
// again, and what it notes.
#include "Sim/AddOnLifecycle.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <thread>

namespace Velmora::Testing {
namespace {

using Events = std::vector<std::string>;

class AddOnLifecycleTest : public testing::Test {
protected:
    AddOnLifecycleTest() {
        lifecycle.SetHostHooks({[this] { return paletteOpen; }, [this] { ++forgotten; }});
    }

    Host::GSErrCode Load() {
        return lifecycle.Load({[this] {
                                   events.push_back("Initialize");
                                   if (keepInInitialize)
                                       lifecycle.KeepInMemory(true);
                                   return initializeError;
                               },
                               [this] {
                                   events.push_back("FreeData");
                                   return leftBehind;
                               }});
    }

    // One call of the host into the add-on, running body as the handler.
    void CallWith(std::function<void()> const& body) {
        Sim::AddOnLifecycle::Call call(lifecycle);
        if (call.Ready())
            body();
    }
    void Keep() { lifecycle.KeepInMemory(true); }

    Sim::CallLog calls{std::this_thread::get_id()};
    Sim::AddOnLifecycle lifecycle{calls};
    Events events;
    bool keepInInitialize = true;
    Host::GSErrCode initializeError = Host::Error::NoError;
    std::vector<std::string> leftBehind;
    bool paletteOpen = false;
    int forgotten = 0;
};

// Catches a host kinder than the rule: an add-on that did not ask to stay during the call,
// with nothing else holding it, must go; a request taken back does not count.
TEST_F(AddOnLifecycleTest, AfterEachCallOnlyAKeepRequestOrAPaletteHoldsTheAddOn) {
    struct Case {
        char const* name;
        bool asks, takesBack, paletteOpen, staysLoaded;
    } const cases[] = {
        {"asks to stay", true, false, false, true},
        {"forgets to ask", false, false, false, false},
        {"takes it back", true, true, false, false},
        {"palette open", false, false, true, true},
    };
    for (Case const& c : cases) {
        forgotten = 0;
        ASSERT_EQ(Load(), Host::Error::NoError) << c.name;
        paletteOpen = c.paletteOpen;
        CallWith([&] {
            if (c.asks)
                Keep();
            if (c.takesBack)
                lifecycle.KeepInMemory(false);
        });
        EXPECT_EQ(!lifecycle.Unloaded(), c.staysLoaded) << c.name;
        EXPECT_EQ(forgotten, c.staysLoaded ? 0 : 1) << c.name; // handlers go with the code
        lifecycle.Quit({});
        paletteOpen = false;
    }
}

// Catches a request outliving its call, and a reload that skips Initialize or lets
// Initialize's request cover the handler it was loaded for.
TEST_F(AddOnLifecycleTest, ARequestLastsOneCallAndTheNextCallLoadsTheAddOnAgain) {
    ASSERT_EQ(Load(), Host::Error::NoError);
    CallWith([this] { Keep(); });
    CallWith([this] { events.push_back("handler 2"); });
    EXPECT_TRUE(lifecycle.Unloaded());
    CallWith([this] { events.push_back("handler 3"); });
    EXPECT_EQ(events, (Events{"Initialize", "handler 2", "FreeData", "Initialize", "handler 3",
                              "FreeData"}));
    EXPECT_EQ(lifecycle.Loads(), 2);
    EXPECT_EQ(lifecycle.Unloads(), 2);
    std::vector<std::string> notes;
    for (Sim::CallRecord const& record : calls.Records())
        notes.push_back(record.call.substr(0, record.call.find(':')));
    EXPECT_EQ(notes, (Events{"[host] Initialize", "[host] FreeData", "[host] Initialize",
                             "[host] FreeData"}));
}

// Catches an unload in the middle of a call (a call made from inside a handler) and a nested
// call wiping the request its outer call made.
TEST_F(AddOnLifecycleTest, ACallMadeInsideAHandlerNeitherUnloadsNorClearsTheOuterRequest) {
    ASSERT_EQ(Load(), Host::Error::NoError);
    CallWith([this] {
        Keep();
        CallWith([this] { events.push_back("inner"); });
        EXPECT_FALSE(lifecycle.Unloaded());
    });
    EXPECT_FALSE(lifecycle.Unloaded());
    CallWith([this] {
        CallWith([this] { Keep(); });
        EXPECT_FALSE(lifecycle.Unloaded());
    });
    EXPECT_FALSE(lifecycle.Unloaded()); // the inner request was made during the outer call
}

// Catches "Initialize forgets KeepInMemory -> the poller dies with the unload" going unseen
// (Initialize is a call of its own), leftovers of FreeData going unreported, and a failed
// Initialize leaving the add-on counted as loaded (or its handlers run).
TEST_F(AddOnLifecycleTest, InitializeWithoutARequestOrFailingIsFreedAtOnceAndLeftoversNoted) {
    leftBehind = {"1 background thread(s) still running"};
    keepInInitialize = false;
    ASSERT_EQ(Load(), Host::Error::NoError);
    EXPECT_TRUE(lifecycle.Unloaded());
    EXPECT_EQ(events, (Events{"Initialize", "FreeData"}));
    EXPECT_EQ(lifecycle.LeftBehind(), leftBehind);
    EXPECT_EQ(calls.Records().back().call,
              "[host] FreeData left behind: 1 background thread(s) still running");

    events.clear();
    initializeError = Host::Error::BadId;
    bool ran = false;
    CallWith([&] { ran = true; });
    EXPECT_FALSE(ran);
    EXPECT_TRUE(lifecycle.Unloaded());
    EXPECT_EQ(events, (Events{"Initialize", "FreeData"}));
}

// Catches a reload (or a handler run) after the quit, and the quit event arriving after
// FreeData.
TEST_F(AddOnLifecycleTest, TheQuitFreesOnceAfterItsEventAndNothingLoadsAgain) {
    ASSERT_EQ(Load(), Host::Error::NoError);
    lifecycle.Quit([this] { CallWith([this] { events.push_back("quit event"); }); });
    CallWith([this] { events.push_back("late call"); });
    EXPECT_FALSE(lifecycle.EnsureLoaded());
    EXPECT_EQ(events, (Events{"Initialize", "quit event", "FreeData"}));
    EXPECT_EQ(lifecycle.Unloads(), 1);
}

} // namespace
} // namespace Velmora::Testing

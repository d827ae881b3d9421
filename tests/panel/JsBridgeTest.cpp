// window.velmora and the panel's events: what the page can hand over, and what reaches it.
#include "Panel/PanelScripts.hpp"
#include "PanelTest.hpp"
#include "Settings.hpp"

namespace Velmora::Testing {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

class JsBridgeTest : public PanelTest {};

// The bridge object the page sees: four functions, in order, registered before the first
// load and again for every document (a new document loses the page's objects).
TEST_F(JsBridgeTest, BridgeIsRegisteredEarlyAndAfterEveryLoad) {
    OpenWithPage();
    ASSERT_EQ(Page().registered.size(), 2u);
    EXPECT_EQ(Page().registered[0], Page().registered[1]); // built once, reused
    std::vector<std::string> names;
    for (auto const& item : Page().registered[0]->GetItemTable())
        names.push_back(item.first);
    EXPECT_THAT(names, ElementsAre("getAuthToken", "onAuthToken", "requestExtract", "log"));
    EXPECT_EQ(Page().registered[0]->GetName(), "velmora");
    EXPECT_THAT(Page().scripts, ElementsAre(kTokenPullScript, kInputShimScript));
    Page().refuseRegistration = true;
    Page().StartLoading();
    Page().FinishLoading();
    EXPECT_EQ(LogCount("WebAppPalette: window.velmora bridge registered"), 1);
    EXPECT_EQ(LogCount("WebAppPalette: window.velmora bridge re-sent"), 2);
    EXPECT_EQ(LogCount("bridge re-sent (RegisterAsynchJSObject returned false)"), 1);
    EXPECT_EQ(LogCount("WebAppPalette: document load-state changed (ready=false)"), 2);
}

// onAuthToken cases, each from a signed-in state: the sign-out must bump the version (a
// waiting upload retry watches it), an e-mail without a token must change nothing, and a
// non-string value counts as empty.
TEST_F(JsBridgeTest, OnAuthTokenSignsInOutOrChangesNothing) {
    struct Case {
        char const* name;
        std::shared_ptr<Host::JS::Base> argument;
        bool result;
        std::string token; // afterwards, in the settings and the cache
        bool versionMoves;
        std::string email;
    };
    auto const text = [](char const* value) { return std::make_shared<Host::JS::Value>(value); };
    Case const cases[] = {
        {"empty signs out", text(""), false, "", true, "old@x"},
        {"no argument signs out", nullptr, false, "", true, "old@x"},
        {"number signs out", std::make_shared<Host::JS::Value>(Host::Int32(5)), false, "", true,
         "old@x"},
        {"email without token", text("{\"email\":\"new@x\"}"), false, "OLD", false, "old@x"},
        {"empty token member", text("{\"token\":\"\",\"email\":\"new@x\"}"), false, "OLD", false,
         "old@x"},
        {"plain token", text("SECRET-T1"), true, "SECRET-T1", true, "old@x"},
        {"object", text("{\"token\":\"T\\\"2\",\"email\":\"new@x\"}"), true, "T\"2", true, "new@x"},
    };
    WebAppPalette& palette = OpenWithPage();
    for (Case const& c : cases) {
        Call("onAuthToken", "OLD");
        Settings::Get().lastLoginEmail = "old@x";
        std::uint64_t const version = Settings::Get().AuthTokenVersion();
        EXPECT_TRUE(IsJsBool(Call("onAuthToken", c.argument), c.result)) << c.name;
        EXPECT_EQ(Settings::Get().AuthToken(), c.token) << c.name;
        EXPECT_EQ(palette.CurrentState().signedIn, !c.token.empty()) << c.name;
        EXPECT_EQ(Settings::Get().AuthTokenVersion() != version, c.versionMoves) << c.name;
        EXPECT_EQ(Settings::Get().lastLoginEmail, c.email) << c.name;
    }
    EXPECT_THAT(ReadFile(SettingsFile()), HasSubstr("lastLoginEmail=new@x"));
    EXPECT_THAT(LogText(), HasSubstr("WebAppPalette: auth token received (value never logged)"));
    EXPECT_THAT(LogText(), Not(HasSubstr("SECRET")));
}

// Without a token the page is asked to push one and the call answers empty; with one, the
// token comes back at once.
TEST_F(JsBridgeTest, GetAuthTokenPullsWhenEmpty) {
    OpenWithPage();
    std::size_t const scripts = Page().scripts.size();
    auto const empty = std::dynamic_pointer_cast<Host::JS::Value>(Call("getAuthToken"));
    ASSERT_NE(empty, nullptr);
    EXPECT_EQ(empty->GetString(), "");
    ASSERT_EQ(Page().scripts.size(), scripts + 1);
    EXPECT_EQ(Page().scripts.back(), kTokenPullScript);
    Call("onAuthToken", "TOK");
    auto const token = std::dynamic_pointer_cast<Host::JS::Value>(Call("getAuthToken"));
    EXPECT_EQ(token->GetString(), "TOK");
    EXPECT_EQ(Page().scripts.size(), scripts + 1);
}

// requestExtract: without a sign-in it is refused (false), the page gets the error event, and
// the page's mask choice never reaches the stored settings.
TEST_F(JsBridgeTest, RequestExtractRefusedWhenSignedOutAndLeavesSettings) {
    OpenWithPage();
    bool const storedMask = Settings::Get().extractOptions.includeMask;
    EXPECT_TRUE(IsJsBool(Call("requestExtract", "{\"includeMask\":false}"), false));
    EXPECT_EQ(Settings::Get().extractOptions.includeMask, storedMask);
    EXPECT_THAT(LogText(), HasSubstr("WebAppPalette: requestExtract invoked"));
    EXPECT_THAT(Page().scripts.back(), HasSubstr("\"action\":\"extractionError\""));
}

// log writes non-empty text only, always answering true.
TEST_F(JsBridgeTest, LogWritesNonEmptyTextWithItsPrefix) {
    OpenWithPage();
    EXPECT_TRUE(IsJsBool(Call("log", "probe: hello"), true));
    EXPECT_TRUE(IsJsBool(Call("log", ""), true));
    EXPECT_TRUE(IsJsBool(Call("log"), true));
    EXPECT_EQ(LogCount("[webapp] "), 1);
    EXPECT_EQ(LogCount("[webapp] probe: hello"), 1);
}

// Progress is never shown as 0 or 100: completion is its own event.
TEST_F(JsBridgeTest, ProgressIsClampedToOneToNinetyNine) {
    WebAppPalette& palette = OpenWithPage();
    std::pair<int, int> const cases[] = {{-5, 1},  {0, 1},   {1, 1},    {2, 2},
                                         {40, 40}, {99, 99}, {100, 99}, {250, 99}};
    for (auto const& [given, shown] : cases) {
        palette.PushExtractionProgress(ExtractionKind::View, given, "Uploading");
        EXPECT_EQ(Page().scripts.back(),
                  "window.postMessage({\"action\":\"extractionProgress\",\"data\":{\"progress\":" +
                      std::to_string(shown) +
                      ",\"status\":\"Uploading\",\"kind\":\"view\",\"source\":\"ArchiCAD\"}},"
                      "\"*\");")
            << given;
    }
}

// The other two events, the model kind, and text that needs escaping inside the script.
TEST_F(JsBridgeTest, CompleteAndErrorEventsCarryKindAndEscapedText) {
    WebAppPalette& palette = OpenWithPage();
    palette.PushExtractionComplete(ExtractionKind::Model);
    EXPECT_EQ(Page().scripts.back(),
              "window.postMessage({\"action\":\"extractionComplete\",\"data\":{\"kind\":\"model\","
              "\"source\":\"ArchiCAD\"}},\"*\");");
    palette.PushExtractionError(ExtractionKind::View, "bad \"x\"\n</script>\\");
    EXPECT_EQ(Page().scripts.back(),
              "window.postMessage({\"action\":\"extractionError\",\"data\":{\"error\":\"bad "
              "\\\"x\\\"\\n</script>\\\\\",\"kind\":\"view\",\"source\":\"ArchiCAD\"}},\"*\");");
}

// Events pushed while the page reloads (or before its first load) are lost, silently; the
// hooks' PushEvent warns; PushAuthToken still caches the token.
TEST_F(JsBridgeTest, EventsWhileThePageReloadsAreDropped) {
    WebAppPalette::CreateInstance();
    WebAppPalette& palette = WebAppPalette::GetInstance();
    palette.PushExtractionComplete(ExtractionKind::View);
    Page().FinishLoading();
    std::size_t const loaded = Page().scripts.size();
    Page().StartLoading();
    palette.PushExtractionProgress(ExtractionKind::View, 50, "x");
    palette.PushExtractionError(ExtractionKind::View, "x");
    palette.PushEvent("{\"a\":1}");
    palette.PushAuthToken("PUSHED");
    EXPECT_EQ(Page().scripts.size(), loaded);
    EXPECT_TRUE(Page().refusedScripts.empty()); // dropped before reaching the host
    EXPECT_FALSE(palette.CurrentState().documentReady);
    EXPECT_TRUE(palette.CurrentState().signedIn);
    EXPECT_THAT(LogText(), HasSubstr("WebAppPalette: PushEvent dropped (document not ready)"));
    Page().FinishLoading();
    palette.PushEvent("{\"a\":1}");
    EXPECT_EQ(Page().scripts.back(),
              "window.Velmora_OnEvent && window.Velmora_OnEvent({\"a\":1});");
    palette.PushAuthToken("A\"B");
    EXPECT_EQ(Page().scripts.back(),
              "window.Velmora_SetAuthToken && window.Velmora_SetAuthToken(\"A\\\"B\");");
}

} // namespace
} // namespace Velmora::Testing

// window.velmora: the four functions the page calls, and their registration in every
// document the browser loads.
#include "Extract/ExtractCommand.hpp"
#include "HostEntry.hpp"
#include "Logger.hpp"
#include "Panel/PanelJson.hpp"
#include "Panel/PanelScripts.hpp"
#include "Panel/WebAppPalette.hpp"
#include "Settings.hpp"

namespace Velmora {

namespace {

using JsRef = std::shared_ptr<Host::JS::Base>;

// A JS string gives its text; anything else (absent, number, object) an empty string.
std::string StringFromJS(JsRef const& value) {
    auto const* plain = dynamic_cast<Host::JS::Value const*>(value.get());
    return plain != nullptr && plain->GetType() == Host::JS::Value::STRING ? plain->GetString()
                                                                           : std::string();
}

JsRef JsBool(bool value) {
    return std::make_shared<Host::JS::Value>(value);
}

} // namespace

std::shared_ptr<Host::JS::Object> WebAppPalette::BuildVelmoraJSObject() {
    using Member = JsRef (WebAppPalette::*)(JsRef);
    struct Binding {
        char const* name;
        Member member;
        HostEntry entry; // only requestExtract is the user's own click
    };
    static constexpr Binding kBindings[] = {
        {"getAuthToken",
         &WebAppPalette::JS_GetAuthToken,
         {"window.velmora.getAuthToken", false, true}},
        {"onAuthToken",
         &WebAppPalette::JS_OnAuthToken,
         {"window.velmora.onAuthToken", false, true}},
        {"requestExtract",
         &WebAppPalette::JS_RequestExtract,
         {"window.velmora.requestExtract", true, true}},
        {"log", &WebAppPalette::JS_Log, {"window.velmora.log", false, true}}};
    auto object = std::make_shared<Host::JS::Object>("velmora");
    for (Binding const& binding : kBindings) {
        // A throw answers the page with no value (undefined), which it reads as false.
        object->AddItem(
            std::make_shared<Host::JS::Function>(binding.name, [this, &binding](JsRef value) {
                return GuardHostEntry(binding.entry, JsRef(), [this, &binding, &value] {
                    return (this->*binding.member)(std::move(value));
                });
            }));
    }
    return object;
}

void WebAppPalette::RegisterVelmoraJSObject() {
    bool const firstTime = bridgeObject_ == nullptr;
    if (firstTime)
        bridgeObject_ = BuildVelmoraJSObject();
    bool const registered = browser_.Item().RegisterAsynchJSObject(bridgeObject_);
    LogInfo(std::string("WebAppPalette: window.velmora bridge ") +
            (firstTime ? "registered" : "re-sent") +
            (registered ? "" : " (RegisterAsynchJSObject returned false)"));
}

JsRef WebAppPalette::JS_GetAuthToken(JsRef /*value*/) {
    // Without a token the page is asked to push one; this call answers empty.
    if (authToken_.empty())
        RunScript(kTokenPullScript);
    return std::make_shared<Host::JS::Value>(authToken_);
}

JsRef WebAppPalette::JS_OnAuthToken(JsRef value) {
    std::string const text = StringFromJS(value);
    if (text.empty()) {
        // The page signed out.
        authToken_.clear();
        Settings::Get().ClearAuthToken();
        return JsBool(false);
    }
    std::string token = text;
    std::string email;
    if (text[0] == '{') {
        token = JsonExtractString(text, "token");
        email = JsonExtractString(text, "email");
    }
    if (token.empty())
        return JsBool(false);
    authToken_ = token;
    LogInfo("WebAppPalette: auth token received (value never logged)");
    Settings::Get().SetAuthToken(token);
    if (!email.empty()) {
        Settings::Get().lastLoginEmail = email;
        Settings::Get().SaveLocalFile();
    }
    return JsBool(true);
}

JsRef WebAppPalette::JS_RequestExtract(JsRef value) {
    std::string const text = StringFromJS(value);
    LogInfo("WebAppPalette: requestExtract invoked");
    Settings::Get().LoadLocalOverrides();
    // The page's choice applies to this extraction only.
    ExtractOptions options = Settings::Get().extractOptions;
    if (std::optional<bool> const includeMask = IncludeMaskOption(text))
        options.includeMask = *includeMask;
    return JsBool(RunExtractAndUpload(options) == Host::Error::NoError);
}

JsRef WebAppPalette::JS_Log(JsRef value) {
    std::string const text = StringFromJS(value);
    if (!text.empty())
        LogInfo("[webapp] " + text);
    return JsBool(true);
}

} // namespace Velmora

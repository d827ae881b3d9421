// What the add-on sends into the page: the extraction events, the page hooks, the token pull
// and the scripts each new document gets.
#include "HostEntry.hpp"
#include "Logger.hpp"
#include "Panel/InputHook.hpp"
#include "Panel/PanelJson.hpp"
#include "Panel/PanelScripts.hpp"
#include "Panel/WebAppPalette.hpp"

#include <algorithm>

namespace Velmora {

namespace {
// The native input hook calls in from the system's event handling.
constexpr HostEntry kNativeWheelEntry{"WebAppPalette native control-wheel", false, true};
} // namespace

bool WebAppPalette::RunScript(std::string const& script) {
    // Script errors stay in the page; the result is not acted on.
    return browser_.Item().ExecuteJS(script);
}

void WebAppPalette::HandleLoadingState(bool loading) {
    documentReady_ = !loading;
    LogInfo(std::string("WebAppPalette: document load-state changed (ready=") +
            (documentReady_ ? "true" : "false") + ")");
    if (!documentReady_)
        return;
    // A new document has lost the page's objects.
    RegisterVelmoraJSObject();
    RunScript(kTokenPullScript);
    if (!documentReady_)
        return;
    RunScript(kInputShimScript);
    InputHook::EnsureInstalled(nullptr, [this](short delta) {
        GuardHostEntry(kNativeWheelEntry, [this, delta] { DispatchSyntheticCtrlWheel(delta); });
    });
}

void WebAppPalette::PostExtractionMessage(char const* action, ExtractionKind kind,
                                          std::string const& fields) {
    if (!documentReady_)
        return; // lost, like any event sent while the page reloads
    std::string data = "{";
    if (!fields.empty())
        data += fields + ",";
    data += kind == ExtractionKind::Model ? "\"kind\":\"model\"," : "\"kind\":\"view\",";
    data += "\"source\":\"ArchiCAD\"}";
    RunScript("window.postMessage({\"action\":" + JsonQuote(action) + ",\"data\":" + data +
              "},\"*\");");
}

void WebAppPalette::PushExtractionProgress(ExtractionKind kind, int percent,
                                           std::string const& status) {
    // 0 and 100 are never shown: completion is its own event.
    int const shown = std::clamp(percent, 1, 99);
    PostExtractionMessage("extractionProgress", kind,
                          "\"progress\":" + std::to_string(shown) +
                              ",\"status\":" + JsonQuote(status));
}

void WebAppPalette::PushExtractionComplete(ExtractionKind kind) {
    PostExtractionMessage("extractionComplete", kind, {});
}

void WebAppPalette::PushExtractionError(ExtractionKind kind, std::string const& message) {
    PostExtractionMessage("extractionError", kind, "\"error\":" + JsonQuote(message));
}

void WebAppPalette::RequestAuthTokenRefresh() {
    RunScript(kTokenPullScript);
}

void WebAppPalette::PushEvent(std::string const& json) {
    if (!documentReady_) {
        Logger::Get().Log(LogLevel::Warn, "WebAppPalette: PushEvent dropped (document not ready)");
        return;
    }
    RunScript("window.Velmora_OnEvent && window.Velmora_OnEvent(" + json + ");");
}

void WebAppPalette::PushAuthToken(std::string const& token) {
    authToken_ = token;
    if (documentReady_)
        RunScript("window.Velmora_SetAuthToken && window.Velmora_SetAuthToken(" + JsonQuote(token) +
                  ");");
}

} // namespace Velmora

// The palette's input observers: they only log (a few calls each, to see what the host
// delivers over the browser) and turn the native control-wheel into page zoom.
#include "HostEntry.hpp"
#include "Logger.hpp"
#include "Panel/WebAppPalette.hpp"

#include <chrono>
#include <cstdio>

namespace Velmora {

namespace {

constexpr int kLoggedCallsPerHook = 8;
constexpr HostEntry kInputHookEntry{"WebAppPalette input hook", false, true};
constexpr std::int64_t kWheelThrottleNs = 5000000; // 5 ms

// Each hook counts its own calls for the life of the process.
struct HookCounter {
    int calls = 0;
    bool Next() { return calls < kLoggedCallsPerHook && ++calls > 0; }
};

HookCounter gPanelWheelTracked;
HookCounter gItemWheelTracked;
HookCounter gItemWheelTrackEntered;
HookCounter gItemDoubleClicked;
HookCounter gItemMouseDown;
HookCounter gItemMouseUp;

void LogHookCall(HookCounter& counter, char const* message) {
    GuardHostEntry(kInputHookEntry, [&counter, message] {
        if (counter.Next())
            Logger::Get().Log(LogLevel::Info, message);
    });
}

std::int64_t SteadyNowNs() {
    return std::chrono::duration_cast<std::chrono::nanoseconds>(
               std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

} // namespace

void WebAppPalette::PanelWheelTracked(Host::DG::PanelWheelTrackEvent const& ev,
                                      bool* /*processed*/) {
    GuardHostEntry(kInputHookEntry, [this, &ev] {
        if (!gPanelWheelTracked.Next())
            return;
        bool const overBrowser = ev.GetItemId() == browser_.Item().GetId();
        LogInfo("Hook PanelWheelTracked vy=" + std::to_string(ev.GetYTrackValue()) +
                " cmd=" + std::to_string(ev.IsCommandPressed() ? 1 : 0) +
                " overBrowser=" + std::to_string(overBrowser ? 1 : 0) + " (log-only)");
    });
}

void WebAppPalette::ItemWheelTrackEntered(Host::DG::ItemWheelEvent const& /*ev*/,
                                          bool* /*processed*/) {
    LogHookCall(gItemWheelTrackEntered, "Hook ItemWheelTrackEntered fired (log-only)");
}

void WebAppPalette::ItemWheelTracked(Host::DG::ItemWheelTrackEvent const& ev, bool* /*processed*/) {
    GuardHostEntry(kInputHookEntry, [&ev] {
        if (gItemWheelTracked.Next())
            LogInfo("Hook ItemWheelTracked vy=" + std::to_string(ev.GetYTrackValue()) +
                    " cmd=" + std::to_string(ev.IsCommandPressed() ? 1 : 0) + " (log-only)");
    });
}

void WebAppPalette::ItemWheelTrackExited(Host::DG::ItemWheelEvent const& /*ev*/,
                                         bool* /*processed*/) {
    GuardHostEntry(kInputHookEntry, [] {}); // nothing to do, but the call still asks to stay
}

void WebAppPalette::ItemDoubleClicked(Host::DG::ItemDoubleClickEvent const& /*ev*/) {
    LogHookCall(gItemDoubleClicked, "Hook ItemDoubleClicked fired (log-only)");
}

void WebAppPalette::ItemMouseDown(Host::DG::ItemMouseDownEvent const& /*ev*/, bool* /*processed*/) {
    LogHookCall(gItemMouseDown, "Hook ItemMouseDown fired");
}

void WebAppPalette::ItemMouseUp(Host::DG::ItemMouseUpEvent const& /*ev*/, bool* /*processed*/) {
    LogHookCall(gItemMouseUp, "Hook ItemMouseUp fired");
}

void WebAppPalette::DispatchSyntheticCtrlWheel(short delta) {
    std::int64_t const now = SteadyNowNs();
    if (now - lastSyntheticWheelNs_ < kWheelThrottleNs)
        return;
    lastSyntheticWheelNs_ = now;
    if (delta == 0 || !documentReady_)
        return;
    // One notch of 120 is 100 page pixels of zoom, the other way round.
    char script[128];
    std::snprintf(script, sizeof script,
                  "window.__vlmSyntheticCtrlWheel&&window.__vlmSyntheticCtrlWheel(%f);",
                  delta / 120.0 * -100.0);
    RunScript(script);
}

} // namespace Velmora

// The web app palette: one floating host palette holding a browser with the web application,
// the bridge object window.velmora the page calls, and the events the commands post into the
// page. Everything here runs on the host's main thread.
#pragma once

#include "Host/HostPort.hpp"

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace Velmora {

// Tags the panel's extraction events: a view extraction or a model export/upload.
enum class ExtractionKind : int { View = 0, Model = 1 };

// Whether the panel can show a command's progress: visible, with a loaded page, signed in.
struct PanelState {
    bool visible = false;
    bool documentReady = false;
    bool signedIn = false;
};

class WebAppPalette : public Host::DG::PanelObserver, public Host::DG::ItemObserver {
public:
    static constexpr char const* kPaletteGuid = "{B8E5B0B0-1C2D-4E5F-9A7B-0C1D2E3F4A5B}";
    static constexpr Host::GSFlags kControlFlags = 0x3F7; // every window type but selection-only

    ~WebAppPalette() override;
    WebAppPalette(WebAppPalette const&) = delete;
    WebAppPalette& operator=(WebAppPalette const&) = delete;

    static Host::API_Guid PaletteGuid();
    static Host::Int32 PaletteReferenceId();

    // ---- The single instance ----
    static bool HasInstance();
    // Makes the palette unless there is one; keeps the add-on in memory while it lives. When
    // the host refuses the window or its browser there is still no instance (logged).
    static void CreateInstance();
    // The instance; calling it without one is a programming error and throws.
    static WebAppPalette& GetInstance();
    static void DestroyInstance();

    // ---- Host callbacks ----
    static Host::GSErrCode RegisterPaletteControlCallBack();
    static Host::GSErrCode PaletteControlCallBack(Host::Int32 referenceId,
                                                  Host::API_PaletteMessageID message,
                                                  std::intptr_t param);
    static Host::GSErrCode NotificationHandler(Host::API_NotifyEventID event, Host::Int32 param);

    // ---- Window ----
    // Both return the error of the menu check-mark calls.
    Host::GSErrCode Show();
    Host::GSErrCode Hide();
    void Toggle();
    void SyncMenuCheck() const;
    PanelState CurrentState() const;
    // A host pinch or control-scroll turned into page zoom (at most one per 5 ms).
    void DispatchSyntheticCtrlWheel(short delta);

    // ---- Events into the page (dropped while no document is ready) ----
    void PushExtractionProgress(ExtractionKind kind, int percent, std::string const& status);
    void PushExtractionComplete(ExtractionKind kind);
    void PushExtractionError(ExtractionKind kind, std::string const& message);
    // Asks the page to hand over its current sign-in token.
    void RequestAuthTokenRefresh();
    // For the page hooks window.Velmora_OnEvent and window.Velmora_SetAuthToken.
    void PushEvent(std::string const& json);
    void PushAuthToken(std::string const& token);

    // ---- window.velmora, as the page calls it ----
    std::shared_ptr<Host::JS::Base> JS_GetAuthToken(std::shared_ptr<Host::JS::Base> value);
    std::shared_ptr<Host::JS::Base> JS_OnAuthToken(std::shared_ptr<Host::JS::Base> value);
    std::shared_ptr<Host::JS::Base> JS_RequestExtract(std::shared_ptr<Host::JS::Base> value);
    std::shared_ptr<Host::JS::Base> JS_Log(std::shared_ptr<Host::JS::Base> value);

    // The browser's loading notification.
    void HandleLoadingState(bool loading);

protected:
    // Panel and item observer hooks.
    void PanelResized(Host::DG::PanelResizeEvent const& ev) override;
    void PanelCloseRequested(Host::DG::PanelCloseRequestEvent const& ev, bool* accepted) override;
    void PanelWheelTracked(Host::DG::PanelWheelTrackEvent const& ev, bool* processed) override;
    void ItemWheelTrackEntered(Host::DG::ItemWheelEvent const& ev, bool* processed) override;
    void ItemWheelTracked(Host::DG::ItemWheelTrackEvent const& ev, bool* processed) override;
    void ItemWheelTrackExited(Host::DG::ItemWheelEvent const& ev, bool* processed) override;
    void ItemDoubleClicked(Host::DG::ItemDoubleClickEvent const& ev) override;
    void ItemMouseDown(Host::DG::ItemMouseDownEvent const& ev, bool* processed) override;
    void ItemMouseUp(Host::DG::ItemMouseUpEvent const& ev, bool* processed) override;

private:
    // The browser item; its loading notification goes to the palette's callback.
    class BridgeBrowser : public Host::DG::BrowserObserver {
    public:
        BridgeBrowser(std::unique_ptr<Host::DG::Browser> item,
                      std::function<void(bool)> const& onLoading)
            : item_(std::move(item)), onLoading_(onLoading) {}
        void OnLoadingStateChange(Host::DG::BrowserLoadingStateChangeArg const& arg) override;
        Host::DG::Browser& Item() const { return *item_; }

    private:
        std::unique_ptr<Host::DG::Browser> item_;
        std::function<void(bool)> const& onLoading_;
    };

    WebAppPalette(std::unique_ptr<Host::DG::Palette> palette,
                  std::unique_ptr<Host::DG::Browser> browser);
    static std::shared_ptr<WebAppPalette> Construct();
    static Host::GSErrCode HandlePaletteMessage(Host::API_PaletteMessageID message,
                                                std::intptr_t param);

    Host::GSErrCode SetMenuCheck(bool checked) const;
    void InitBrowserControl();
    void RegisterVelmoraJSObject();
    std::shared_ptr<Host::JS::Object> BuildVelmoraJSObject();
    void PostExtractionMessage(char const* action, ExtractionKind kind, std::string const& fields);
    bool RunScript(std::string const& script);
    static void LogInfo(std::string const& text);

    std::unique_ptr<Host::DG::Palette> palette_; // declared first: it outlives its browser item
    BridgeBrowser browser_;
    std::function<void(bool)> loadingStateCallback_;
    bool documentReady_ = false;
    std::int64_t lastSyntheticWheelNs_ = 0;
    std::string authToken_;
    std::shared_ptr<Host::JS::Object> bridgeObject_;
};

} // namespace Velmora

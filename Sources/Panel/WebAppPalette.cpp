// The palette's life: its single instance, the host's palette messages and quit event,
// showing and hiding with the menu check mark, the browser's first load and the close box.
#include "Panel/WebAppPalette.hpp"

#include "Host/Guid.hpp"
#include "HostEntry.hpp"
#include "Logger.hpp"
#include "MenuCheckMark.hpp"
#include "ResourceIds.hpp"
#include "Settings.hpp"

#include <stdexcept>

namespace Velmora {

namespace {

// A counted reference: a caller holding the palette keeps it alive past a release.
std::shared_ptr<WebAppPalette>& Instance() {
    static std::shared_ptr<WebAppPalette> instance;
    return instance;
}

void LogError(std::string const& text) {
    Logger::Get().Log(LogLevel::Error, "WebAppPalette: " + text);
}

// The host's palette messages, its quit event and the window's own events: none is a command
// the user chose from us, so a throw is only logged.
constexpr HostEntry kPaletteMessageEntry{"WebAppPalette::PaletteControlCallBack", false, true};
constexpr HostEntry kProjectEventEntry{"WebAppPalette::NotificationHandler", false, true};
constexpr HostEntry kPanelEventEntry{"WebAppPalette panel event", false, true};
constexpr HostEntry kLoadingStateEntry{"WebAppPalette page load notification", false, true};

} // namespace

Host::API_Guid WebAppPalette::PaletteGuid() {
    return Host::GuidFromString(kPaletteGuid);
}

Host::Int32 WebAppPalette::PaletteReferenceId() {
    return Host::GuidWordSum(PaletteGuid());
}

void WebAppPalette::LogInfo(std::string const& text) {
    Logger::Get().Log(LogLevel::Info, text);
}

// ---- Instance ------------------------------------------------------------------------------

bool WebAppPalette::HasInstance() {
    return Instance() != nullptr;
}

void WebAppPalette::CreateInstance() {
    if (HasInstance())
        return;
    Instance() = Construct();
    if (HasInstance())
        Host::Get().KeepInMemory(true);
}

WebAppPalette& WebAppPalette::GetInstance() {
    if (!HasInstance())
        throw std::logic_error("Null pointer."); // the host's null-pointer exception text
    return *Instance();
}

void WebAppPalette::DestroyInstance() {
    Instance().reset();
}

std::shared_ptr<WebAppPalette> WebAppPalette::Construct() {
    Host::Port& host = Host::Get();
    Host::GSResModule const resModule = host.GetOwnResModule();
    std::unique_ptr<Host::DG::Palette> palette;
    if (Host::GSErrCode err = host.Dialog().CreatePalette(resModule, VELMORA_PALETTE_DIALOG,
                                                          resModule, PaletteGuid(), &palette);
        err != Host::Error::NoError || palette == nullptr) {
        LogError("palette not created, err=" + std::to_string(err));
        return nullptr;
    }
    std::unique_ptr<Host::DG::Browser> browser;
    if (Host::GSErrCode err =
            host.Dialog().CreateBrowser(*palette, VELMORA_PALETTE_BROWSER_ITEM, &browser);
        err != Host::Error::NoError || browser == nullptr) {
        LogError("browser item not created, err=" + std::to_string(err));
        return nullptr;
    }
    std::shared_ptr<WebAppPalette> made(new WebAppPalette(std::move(palette), std::move(browser)));
    made->InitBrowserControl();
    return made;
}

WebAppPalette::WebAppPalette(std::unique_ptr<Host::DG::Palette> palette,
                             std::unique_ptr<Host::DG::Browser> browser)
    : palette_(std::move(palette)), browser_(std::move(browser), loadingStateCallback_) {
    if (Host::GSErrCode err = Host::Get().ProjectOperation().CatchProjectEvent(
            Host::APINotify_Quit, &NotificationHandler);
        err != Host::Error::NoError)
        LogError("quit event not caught, err=" + std::to_string(err));
    palette_->Attach(static_cast<Host::DG::PanelObserver&>(*this));
    browser_.Item().Attach(static_cast<Host::DG::ItemObserver&>(*this));
    browser_.Item().Attach(static_cast<Host::DG::BrowserObserver&>(browser_));
}

WebAppPalette::~WebAppPalette() {
    browser_.Item().Detach(static_cast<Host::DG::BrowserObserver&>(browser_));
    browser_.Item().Detach(static_cast<Host::DG::ItemObserver&>(*this));
    palette_->Detach(static_cast<Host::DG::PanelObserver&>(*this));
}

void WebAppPalette::InitBrowserControl() {
    loadingStateCallback_ = [this](bool loading) { HandleLoadingState(loading); };
    Host::DG::Browser& browser = browser_.Item();
    browser.DisableZooming(); // zoom is the page's
    std::string url = Settings::Get().webAppUrl;
    if (url.empty())
        url = Settings::DefaultWebAppUrl();
    browser.LoadURL(url);
    // As early as possible; registered again once the document has loaded.
    RegisterVelmoraJSObject();
    LogInfo("WebAppPalette: CEF debug port=" +
            std::to_string(static_cast<unsigned>(Host::Get().Dialog().GetCefDebugPort())));
}

// ---- Host callbacks ------------------------------------------------------------------------

Host::GSErrCode WebAppPalette::RegisterPaletteControlCallBack() {
    return Host::Get().RegisterModelessWindow(PaletteReferenceId(), &PaletteControlCallBack,
                                              kControlFlags, PaletteGuid());
}

Host::GSErrCode WebAppPalette::PaletteControlCallBack(Host::Int32 /*referenceId*/,
                                                      Host::API_PaletteMessageID message,
                                                      std::intptr_t param) {
    return GuardHostEntry(kPaletteMessageEntry, Host::Error::General,
                          [message, param] { return HandlePaletteMessage(message, param); });
}

Host::GSErrCode WebAppPalette::HandlePaletteMessage(Host::API_PaletteMessageID message,
                                                    std::intptr_t param) {
    if (message < Host::APIPalMsg_ClosePalette || message > Host::APIPalMsg_IsPaletteVisible)
        return Host::Error::NoError;
    if (message == Host::APIPalMsg_IsPaletteVisible) {
        if (param != 0)
            *reinterpret_cast<bool*>(param) = HasInstance() && GetInstance().palette_->IsVisible();
        return Host::Error::NoError;
    }
    if (message == Host::APIPalMsg_OpenPalette)
        CreateInstance();
    if (!HasInstance())
        return Host::Error::NoError;
    WebAppPalette& palette = GetInstance();
    Host::DG::Palette& window = *palette.palette_;
    switch (message) {
    case Host::APIPalMsg_ClosePalette:
        window.Hide();
        break;
    case Host::APIPalMsg_HidePalette_Begin:
        if (!window.IsVisible())
            return Host::Error::NoError;
        window.Hide();
        break;
    case Host::APIPalMsg_HidePalette_End:
        // Shows also a palette the user had hidden before the host's hide began.
        if (window.IsVisible())
            return Host::Error::NoError;
        window.Show();
        break;
    case Host::APIPalMsg_DisableItems_Begin:
        window.DisableItems();
        return Host::Error::NoError;
    case Host::APIPalMsg_DisableItems_End:
        window.EnableItems();
        return Host::Error::NoError;
    default: // open palette
        window.Show();
        break;
    }
    palette.SyncMenuCheck();
    return Host::Error::NoError;
}

Host::GSErrCode WebAppPalette::NotificationHandler(Host::API_NotifyEventID event,
                                                   Host::Int32 /*param*/) {
    return GuardHostEntry(kProjectEventEntry, Host::Error::General, [event] {
        if (event != Host::APINotify_Quit)
            return Host::Error::NoError;
        // Released here; deleted unless someone still holds it.
        std::shared_ptr<WebAppPalette> released;
        released.swap(Instance());
        return Host::Error::NoError;
    });
}

void WebAppPalette::BridgeBrowser::OnLoadingStateChange(
    Host::DG::BrowserLoadingStateChangeArg const& arg) {
    GuardHostEntry(kLoadingStateEntry, [this, &arg] {
        if (onLoading_)
            onLoading_(arg.isLoading);
    });
}

// ---- Window --------------------------------------------------------------------------------

Host::GSErrCode WebAppPalette::Show() {
    palette_->Show();
    return SetMenuCheck(palette_->IsVisible());
}

Host::GSErrCode WebAppPalette::Hide() {
    palette_->Hide();
    return SetMenuCheck(palette_->IsVisible());
}

void WebAppPalette::Toggle() {
    if (palette_->IsVisible())
        Hide();
    else
        Show();
}

void WebAppPalette::SyncMenuCheck() const {
    SetMenuCheck(palette_->IsVisible());
}

Host::GSErrCode WebAppPalette::SetMenuCheck(bool checked) const {
    return SetMenuItemChecked(VELMORA_COMMAND_MENU, 1, checked);
}

PanelState WebAppPalette::CurrentState() const {
    return {palette_->IsVisible(), documentReady_, !authToken_.empty()};
}

void WebAppPalette::PanelResized(Host::DG::PanelResizeEvent const& ev) {
    GuardHostEntry(kPanelEventEntry, [this, &ev] {
        // The browser always fills the panel.
        palette_->BeginMoveResizeItems();
        browser_.Item().Resize(ev.GetHorizontalChange(), ev.GetVerticalChange());
        palette_->EndMoveResizeItems();
    });
}

void WebAppPalette::PanelCloseRequested(Host::DG::PanelCloseRequestEvent const& /*ev*/,
                                        bool* accepted) {
    GuardHostEntry(kPanelEventEntry, [this, accepted] {
        // Closing only hides: the page and its sign-in survive.
        palette_->Hide();
        SyncMenuCheck();
        if (accepted != nullptr)
            *accepted = true;
    });
}

} // namespace Velmora

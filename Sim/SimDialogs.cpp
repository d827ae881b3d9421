#include "Sim/SimDialogs.hpp"

#include "Sim/HeadlessBrowserEngine.hpp"

#include <algorithm>

namespace Velmora::Sim {

namespace {

template <typename T>
void Forget(std::vector<T*>& live, T* gone) {
    live.erase(std::remove(live.begin(), live.end(), gone), live.end());
}

} // namespace

SimDialogs::SimDialogs(CallLog& calls, EventLoop& loop, AddOnLifecycle& addOn,
                       SimResources const& resources, Host::GSResModule ownResModule)
    : calls_(calls), loop_(loop), addOn_(addOn), resources_(resources), ownResModule_(ownResModule),
      mainThread_(std::this_thread::get_id()) {}

void SimDialogs::OnScript(std::function<void(std::string const&)> listener) {
    scriptListener_ = std::move(listener);
}

Host::GSErrCode SimDialogs::CreatePalette(Host::GSResModule resModule, short resId,
                                          Host::GSResModule /*dialIconResModule*/,
                                          Host::API_Guid const& guid,
                                          std::unique_ptr<Host::DG::Palette>* palette) {
    if (auto err = calls_.Enter("DG::Palette::Palette"))
        return *err;
    if (palette == nullptr)
        return Host::Error::BadPars;
    SimDialog const* dialog = resModule == ownResModule_ ? resources_.Dialog(resId) : nullptr;
    if (dialog == nullptr || dialog->type != "Palette")
        return Host::Error::BadId;
    // The Work Environment knows a palette by its guid: one window per guid.
    if (FindPalette(guid) != nullptr)
        return Host::Error::BadId;
    auto slot = std::make_shared<SimPaletteWindow*>(nullptr);
    auto window = std::make_unique<SimPaletteWindow>(
        guid, *dialog, addOn_, [this, slot] { Forget<SimPaletteWindow>(palettes_, *slot); });
    *slot = window.get();
    palettes_.push_back(window.get());
    *palette = std::move(window);
    return Host::Error::NoError;
}

SimDialogs::~SimDialogs() {
    for (SimPaletteWindow* palette : palettes_)
        palette->Orphan();
    for (SimBrowserItem* browser : browsers_)
        browser->Orphan();
}

Host::GSErrCode SimDialogs::CreateBrowser(Host::DG::Palette& panel, short item,
                                          std::unique_ptr<Host::DG::Browser>* browser) {
    if (auto err = calls_.Enter("DG::Browser::Browser"))
        return *err;
    auto const found = std::find(palettes_.begin(), palettes_.end(), &panel);
    if (browser == nullptr || found == palettes_.end())
        return Host::Error::BadPars;
    SimDialog const& dialog = (*found)->Resource();
    bool const isBrowserItem = item >= 1 && item <= static_cast<short>(dialog.items.size()) &&
                               dialog.items[static_cast<std::size_t>(item - 1)].type == "Browser";
    // One item object per dialog item.
    if (!isBrowserItem || BrowserOn(panel) != nullptr)
        return Host::Error::BadId;
    SimDialogItem const& frame = dialog.items[static_cast<std::size_t>(item - 1)];
    std::unique_ptr<BrowserEngine> engine =
        engineFactory_ ? engineFactory_() : std::make_unique<HeadlessBrowserEngine>();
    SimBrowserItem::Context context{
        calls_,
        loop_,
        addOn_,
        mainThread_,
        [this](std::string const& script) {
            if (scriptListener_)
                scriptListener_(script);
        },
        [this](SimBrowserItem* gone) { Forget<SimBrowserItem>(browsers_, gone); }};
    auto made = std::make_unique<SimBrowserItem>(std::move(context), panel, item, frame.width,
                                                 frame.height, std::move(engine));
    browsers_.push_back(made.get());
    *browser = std::move(made);
    return Host::Error::NoError;
}

std::uint16_t SimDialogs::GetCefDebugPort() {
    calls_.Enter("DG::GetCefDebugPort");
    return cefDebugPort_;
}

SimPaletteWindow* SimDialogs::FindPalette(Host::API_Guid const& guid) const {
    for (SimPaletteWindow* palette : palettes_) {
        if (palette->Guid() == guid)
            return palette;
    }
    return nullptr;
}

SimBrowserItem* SimDialogs::BrowserOn(Host::DG::Palette const& palette) const {
    for (SimBrowserItem* browser : browsers_) {
        if (&browser->Palette() == &palette)
            return browser;
    }
    return nullptr;
}

} // namespace Velmora::Sim

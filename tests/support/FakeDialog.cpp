#include "support/FakeDialog.hpp"

namespace Velmora::Testing {

using testing::_;
using testing::Invoke;
using testing::Return;

FakePalette::FakePalette(FakeDialog& owner, Host::API_Guid paletteGuid, short dialogId)
    : guid(paletteGuid), resId(dialogId), owner_(&owner) {}

FakePalette::~FakePalette() {
    if (owner_ != nullptr && owner_->palette_ == this)
        owner_->palette_ = nullptr;
}

void FakePalette::Detach(Host::DG::PanelObserver& observer) {
    if (observer_ == &observer)
        observer_ = nullptr;
}

bool FakePalette::ClickCloseBox() {
    bool accepted = false;
    if (observer_ != nullptr)
        observer_->PanelCloseRequested(Host::DG::PanelCloseRequestEvent{}, &accepted);
    return accepted;
}

void FakePalette::ResizeBy(short horizontal, short vertical) {
    if (observer_ != nullptr)
        observer_->PanelResized(Host::DG::PanelResizeEvent(horizontal, vertical));
}

void FakePalette::WheelOver(short itemId, short yTrackValue, bool command) {
    bool processed = false;
    if (observer_ != nullptr)
        observer_->PanelWheelTracked(
            Host::DG::PanelWheelTrackEvent(itemId, 0, yTrackValue, command), &processed);
}

FakeBrowser::FakeBrowser(FakeDialog& owner, FakePalette& onPalette, short item)
    : palette(onPalette), owner_(&owner), item_(item) {}

FakeBrowser::~FakeBrowser() {
    if (owner_ != nullptr && owner_->browser_ == this)
        owner_->browser_ = nullptr;
}

void FakeBrowser::LoadURL(std::string const& url) {
    loadedUrls.push_back(url);
}

bool FakeBrowser::ExecuteJS(std::string const& jsCode) {
    // A script reaches a document only while one is loaded and not being replaced.
    if (!documentLoaded || loading) {
        refusedScripts.push_back(jsCode);
        return false;
    }
    scripts.push_back(jsCode);
    return true;
}

bool FakeBrowser::RegisterAsynchJSObject(std::shared_ptr<Host::JS::Object> obj) {
    if (obj == nullptr || refuseRegistration)
        return false;
    registered.push_back(std::move(obj));
    return true;
}

void FakeBrowser::Resize(short hGrow, short vGrow) {
    if (palette.openMoveResizeBlocks == 0)
        ++resizesOutsideMoveBlock;
    width += hGrow;
    height += vGrow;
}

void FakeBrowser::Detach(Host::DG::ItemObserver& observer) {
    if (itemObserver_ == &observer)
        itemObserver_ = nullptr;
}

void FakeBrowser::Detach(Host::DG::BrowserObserver& observer) {
    if (browserObserver_ == &observer)
        browserObserver_ = nullptr;
}

void FakeBrowser::StartLoading() {
    loading = true;
    if (browserObserver_ != nullptr)
        browserObserver_->OnLoadingStateChange({true, false, false});
}

void FakeBrowser::FinishLoading() {
    loading = false;
    documentLoaded = true;
    if (browserObserver_ != nullptr)
        browserObserver_->OnLoadingStateChange({false, false, false});
}

std::shared_ptr<Host::JS::Base>
FakeBrowser::CallFromPage(std::string const& object, std::string const& function,
                          std::shared_ptr<Host::JS::Base> argument) {
    // The page sees the latest registration of a name.
    for (auto it = registered.rbegin(); it != registered.rend(); ++it) {
        if ((*it)->GetName() != object)
            continue;
        for (auto const& [name, item] : (*it)->GetItemTable()) {
            auto const callable = std::dynamic_pointer_cast<Host::JS::Function>(item);
            if (name == function && callable != nullptr)
                return callable->Call(std::move(argument));
        }
        return nullptr;
    }
    return nullptr;
}

FakeDialog::FakeDialog() {
    ON_CALL(*this, CreatePalette(_, _, _, _, _))
        .WillByDefault(
            Invoke([this](Host::GSResModule resModule, short resId, Host::GSResModule,
                          Host::API_Guid const& guid, std::unique_ptr<Host::DG::Palette>* palette) {
                return MakePalette(resModule, resId, guid, palette);
            }));
    ON_CALL(*this, CreateBrowser(_, _, _))
        .WillByDefault(Invoke([this](Host::DG::Palette& panel, short item,
                                     std::unique_ptr<Host::DG::Browser>* browser) {
            return MakeBrowser(panel, item, browser);
        }));
    ON_CALL(*this, GetCefDebugPort()).WillByDefault(Return(std::uint16_t(0)));
}

FakeDialog::~FakeDialog() {
    // An instance the test left behind outlives the host; it must not reach back into it.
    if (palette_ != nullptr)
        palette_->owner_ = nullptr;
    if (browser_ != nullptr)
        browser_->owner_ = nullptr;
}

Host::GSErrCode FakeDialog::MakePalette(Host::GSResModule resModule, short resId,
                                        Host::API_Guid const& guid,
                                        std::unique_ptr<Host::DG::Palette>* palette) {
    if (palette == nullptr)
        return Host::Error::BadPars;
    if (resModule != ownResModule || resId != paletteDialogId)
        return Host::Error::BadId;
    // The host keeps one palette per Work Environment guid.
    if (palette_ != nullptr && palette_->guid == guid)
        return Host::Error::BadId;
    auto made = std::make_unique<FakePalette>(*this, guid, resId);
    palette_ = made.get();
    ++palettesCreated_;
    *palette = std::move(made);
    return Host::Error::NoError;
}

Host::GSErrCode FakeDialog::MakeBrowser(Host::DG::Palette& panel, short item,
                                        std::unique_ptr<Host::DG::Browser>* browser) {
    auto* palette = dynamic_cast<FakePalette*>(&panel);
    if (browser == nullptr || palette == nullptr)
        return Host::Error::BadPars;
    if (item != browserItem || (browser_ != nullptr && &browser_->palette == palette))
        return Host::Error::BadId;
    auto made = std::make_unique<FakeBrowser>(*this, *palette, item);
    browser_ = made.get();
    *browser = std::move(made);
    return Host::Error::NoError;
}

} // namespace Velmora::Testing

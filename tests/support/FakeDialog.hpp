// The dialog toolkit for unit tests: palettes and browser items that remember what the add-on
// did to them, refuse what the host refuses, and let a test play the user and the page
// (close box, resizes, wheel, load notifications, calls into registered objects).
#pragma once

#include "Host/HostPort.hpp"

#include <gmock/gmock.h>

#include <memory>
#include <string>
#include <vector>

namespace Velmora::Testing {

class FakeDialog;

class FakePalette : public Host::DG::Palette {
public:
    FakePalette(FakeDialog& owner, Host::API_Guid paletteGuid, short dialogId);
    ~FakePalette() override;

    void Show() override { visible = true; }
    void Hide() override { visible = false; }
    void SetVisibility(bool show) override { visible = show; }
    bool IsVisible() const override { return visible; }
    void EnableItems() override { itemsEnabled = true; }
    void DisableItems() override { itemsEnabled = false; }
    void BeginMoveResizeItems() override { ++openMoveResizeBlocks; }
    void EndMoveResizeItems() override { --openMoveResizeBlocks; }
    void Attach(Host::DG::PanelObserver& observer) override { observer_ = &observer; }
    void Detach(Host::DG::PanelObserver& observer) override;

    // The user at the window: true when the add-on accepted the close.
    bool ClickCloseBox();
    void ResizeBy(short horizontal, short vertical);
    void WheelOver(short itemId, short yTrackValue, bool command);
    Host::DG::PanelObserver* Observer() const { return observer_; }

    Host::API_Guid const guid;
    short const resId;
    bool visible = false;
    bool itemsEnabled = true;
    int openMoveResizeBlocks = 0;

private:
    friend class FakeDialog;
    FakeDialog* owner_;
    Host::DG::PanelObserver* observer_ = nullptr;
};

class FakeBrowser : public Host::DG::Browser {
public:
    FakeBrowser(FakeDialog& owner, FakePalette& onPalette, short item);
    ~FakeBrowser() override;

    short GetId() const override { return item_; }
    void LoadURL(std::string const& url) override;
    bool ExecuteJS(std::string const& jsCode) override;
    bool RegisterAsynchJSObject(std::shared_ptr<Host::JS::Object> obj) override;
    void DisableZooming() override { zoomingDisabled = true; }
    void Resize(short hGrow, short vGrow) override;
    void Attach(Host::DG::ItemObserver& observer) override { itemObserver_ = &observer; }
    void Detach(Host::DG::ItemObserver& observer) override;
    void Attach(Host::DG::BrowserObserver& observer) override { browserObserver_ = &observer; }
    void Detach(Host::DG::BrowserObserver& observer) override;

    // The page: starts or finishes loading the current URL and tells the observer.
    void StartLoading();
    void FinishLoading();
    // Calls window.OBJECT.FUNCTION(argument) as the page would; nullptr when there is no such
    // function (the page's call would fail).
    std::shared_ptr<Host::JS::Base> CallFromPage(std::string const& object,
                                                 std::string const& function,
                                                 std::shared_ptr<Host::JS::Base> argument);
    Host::DG::ItemObserver* ItemObserver() const { return itemObserver_; }

    FakePalette& palette;
    std::vector<std::string> loadedUrls;
    std::vector<std::string> scripts; // every script a document received
    std::vector<std::string> refusedScripts;
    std::vector<std::shared_ptr<Host::JS::Object>> registered; // every registration
    bool zoomingDisabled = false;
    bool documentLoaded = false;
    bool loading = false;
    int width = 440;
    int height = 680;
    bool refuseRegistration = false;
    int resizesOutsideMoveBlock = 0; // the host lays out only moves inside Begin/End

private:
    friend class FakeDialog;
    FakeDialog* owner_;
    short item_;
    Host::DG::ItemObserver* itemObserver_ = nullptr;
    Host::DG::BrowserObserver* browserObserver_ = nullptr;
};

class FakeDialog : public Host::DialogApi {
public:
    FakeDialog();
    ~FakeDialog() override;

    MOCK_METHOD(Host::GSErrCode, CreatePalette,
                (Host::GSResModule, short, Host::GSResModule, Host::API_Guid const&,
                 std::unique_ptr<Host::DG::Palette>*),
                (override));
    MOCK_METHOD(Host::GSErrCode, CreateBrowser,
                (Host::DG::Palette&, short, std::unique_ptr<Host::DG::Browser>*), (override));
    MOCK_METHOD(std::uint16_t, GetCefDebugPort, (), (override));

    // The live objects (nullptr once the add-on deleted them) and how many were ever made.
    FakePalette* Palette() const { return palette_; }
    FakeBrowser* Browser() const { return browser_; }
    int PalettesCreated() const { return palettesCreated_; }

    // Dialog resources the add-on's resource file defines: id and its browser item.
    short paletteDialogId = 32500;
    short browserItem = 1;
    Host::GSResModule ownResModule = 1;

private:
    friend class FakePalette;
    friend class FakeBrowser;

    Host::GSErrCode MakePalette(Host::GSResModule resModule, short resId,
                                Host::API_Guid const& guid,
                                std::unique_ptr<Host::DG::Palette>* palette);
    Host::GSErrCode MakeBrowser(Host::DG::Palette& panel, short item,
                                std::unique_ptr<Host::DG::Browser>* browser);

    FakePalette* palette_ = nullptr;
    FakeBrowser* browser_ = nullptr;
    int palettesCreated_ = 0;
};

} // namespace Velmora::Testing

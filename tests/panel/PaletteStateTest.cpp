// The palette's life: host messages, the menu item, the close box, quit, and its first load.
#include "Commands.hpp"
#include "PanelTest.hpp"
#include "ResourceIds.hpp"
#include "Settings.hpp"

#include <chrono>
#include <thread>

namespace Velmora::Testing {
namespace {

using testing::_;
using testing::HasSubstr;
using testing::Return;

class PaletteStateTest : public PanelTest {};

// Messages that reach a missing palette must neither create one nor touch the menu, and
// message 7 must answer "not visible" (else the host reopens a palette that never was). Each
// still asks the host to keep the add-on loaded, as every host call into it does.
TEST_F(PaletteStateTest, MessagesWithoutAnInstanceDoNothingButAnswerNotVisible) {
    EXPECT_CALL(host.menuItem, SetMenuItemFlags(_, _)).Times(0);
    EXPECT_CALL(host, KeepInMemory(true)).Times(9);
    for (int message : {0, 1, 2, 3, 4, 5, 8, -1})
        EXPECT_EQ(WebAppPalette::PaletteControlCallBack(
                      0, static_cast<Host::API_PaletteMessageID>(message), 0),
                  Host::Error::NoError);
    bool visible = true;
    WebAppPalette::PaletteControlCallBack(0, Host::APIPalMsg_IsPaletteVisible,
                                          reinterpret_cast<std::intptr_t>(&visible));
    EXPECT_FALSE(visible);
    EXPECT_FALSE(WebAppPalette::HasInstance());
    EXPECT_EQ(host.dialog.PalettesCreated(), 0);
    EXPECT_THROW(WebAppPalette::GetInstance(), std::logic_error);
}

// Message 6 (the Work Environment reopens the palette) must create, show, keep the add-on in
// memory and check the menu item.
TEST_F(PaletteStateTest, OpenMessageCreatesShowsAndChecksTheMenu) {
    EXPECT_CALL(host, KeepInMemory(true)).Times(testing::AtLeast(1));
    WebAppPalette::RegisterPaletteControlCallBack();
    EXPECT_EQ(host.SendPaletteMessage(Host::APIPalMsg_OpenPalette), Host::Error::NoError);
    ASSERT_TRUE(WebAppPalette::HasInstance());
    EXPECT_TRUE(Window().visible);
    EXPECT_TRUE(PanelMenuChecked());
    EXPECT_EQ(Window().resId, VELMORA_PALETTE_DIALOG);
    EXPECT_EQ(Window().guid, WebAppPalette::PaletteGuid());
    EXPECT_EQ(Page().GetId(), VELMORA_PALETTE_BROWSER_ITEM);
    host.SendPaletteMessage(Host::APIPalMsg_OpenPalette);
    EXPECT_EQ(host.dialog.PalettesCreated(), 1); // the existing one is shown, not a second
}

// Each message against a live palette: what it does to the window, the items and the check
// mark. Catches a hide-begin that re-shows, a hide-end that respects the user's hide (it must
// not), and item messages that change visibility.
TEST_F(PaletteStateTest, MessagesWithAnInstanceFollowTheHostsProtocol) {
    struct Case {
        Host::API_PaletteMessageID message;
        bool visibleBefore;
        bool visibleAfter;
        bool itemsEnabledAfter;
        bool menuTouched;
    };
    Case const cases[] = {
        {Host::APIPalMsg_ClosePalette, true, false, true, true},
        {Host::APIPalMsg_ClosePalette, false, false, true, true},
        {Host::APIPalMsg_HidePalette_Begin, true, false, true, true},
        {Host::APIPalMsg_HidePalette_Begin, false, false, true, false},
        {Host::APIPalMsg_HidePalette_End, false, true, true, true}, // also after the user's hide
        {Host::APIPalMsg_HidePalette_End, true, true, true, false},
        {Host::APIPalMsg_DisableItems_Begin, true, true, false, false},
        {Host::APIPalMsg_DisableItems_End, true, true, true, false},
        {Host::APIPalMsg_OpenPalette, false, true, true, true},
    };
    WebAppPalette::CreateInstance();
    for (Case const& c : cases) {
        Window().visible = c.visibleBefore;
        Window().itemsEnabled = c.message != Host::APIPalMsg_DisableItems_End;
        int setCalls = 0;
        ON_CALL(host.menuItem, SetMenuItemFlags(_, _))
            .WillByDefault(testing::Invoke([&setCalls](auto const*, auto*) {
                ++setCalls;
                return Host::Error::NoError;
            }));
        EXPECT_EQ(WebAppPalette::PaletteControlCallBack(0, c.message, 0), Host::Error::NoError);
        EXPECT_EQ(Window().visible, c.visibleAfter) << c.message << " " << c.visibleBefore;
        EXPECT_EQ(Window().itemsEnabled, c.itemsEnabledAfter) << c.message;
        EXPECT_EQ(setCalls > 0, c.menuTouched) << c.message << " " << c.visibleBefore;
        bool visible = !c.visibleAfter;
        WebAppPalette::PaletteControlCallBack(0, Host::APIPalMsg_IsPaletteVisible,
                                              reinterpret_cast<std::intptr_t>(&visible));
        EXPECT_EQ(visible, c.visibleAfter);
    }
}

// The menu item toggles and the check mark follows; the close box hides without deleting, so
// the menu shows the same page again without loading it anew.
TEST_F(PaletteStateTest, MenuItemTogglesAndCloseBoxOnlyHides) {
    EXPECT_EQ(DoShowPanel(), Host::Error::NoError);
    ASSERT_TRUE(WebAppPalette::HasInstance());
    EXPECT_TRUE(Window().visible);
    EXPECT_TRUE(PanelMenuChecked());
    DoShowPanel();
    EXPECT_FALSE(Window().visible);
    EXPECT_FALSE(PanelMenuChecked());
    DoShowPanel();
    EXPECT_TRUE(Window().ClickCloseBox());
    EXPECT_FALSE(Window().visible);
    EXPECT_FALSE(PanelMenuChecked());
    DoShowPanel();
    EXPECT_TRUE(Window().visible);
    EXPECT_TRUE(PanelMenuChecked());
    EXPECT_EQ(host.dialog.PalettesCreated(), 1);
    EXPECT_EQ(Page().loadedUrls.size(), 1u);
    EXPECT_TRUE(ReportTexts().empty()); // no placeholder message any more
}

// A failed menu-flag read leaves the mark alone but the window still shows; Show reports it.
TEST_F(PaletteStateTest, MenuFlagFailureStillShowsAndReturnsTheError) {
    WebAppPalette::CreateInstance();
    ON_CALL(host.menuItem, GetMenuItemFlags(_, _)).WillByDefault(Return(Host::Error::BadIndex));
    EXPECT_CALL(host.menuItem, SetMenuItemFlags(_, _)).Times(0);
    EXPECT_EQ(WebAppPalette::GetInstance().Show(), Host::Error::BadIndex);
    EXPECT_TRUE(Window().visible);
}

// Quit releases the palette (the window goes); other project events leave it.
TEST_F(PaletteStateTest, QuitReleasesThePaletteOtherEventsDoNot) {
    WebAppPalette::CreateInstance();
    EXPECT_EQ(host.ProjectEventTypes(), Host::GSFlags(Host::APINotify_Quit));
    host.SendProjectEvent(Host::APINotify_Close);
    WebAppPalette::NotificationHandler(Host::APINotify_Close, 0);
    EXPECT_TRUE(WebAppPalette::HasInstance());
    EXPECT_EQ(host.SendProjectEvent(Host::APINotify_Quit), Host::Error::NoError);
    EXPECT_FALSE(WebAppPalette::HasInstance());
    EXPECT_EQ(host.dialog.Palette(), nullptr);
    EXPECT_EQ(host.dialog.Browser(), nullptr);
    EXPECT_EQ(WebAppPalette::NotificationHandler(Host::APINotify_Quit, 0), Host::Error::NoError);
}

// When the host refuses the window or its browser item there is no half-made palette.
TEST_F(PaletteStateTest, RefusedWindowOrBrowserLeavesNoInstance) {
    EXPECT_CALL(host, KeepInMemory(_)).Times(0);
    ON_CALL(host.dialog, CreateBrowser(_, _, _)).WillByDefault(Return(Host::Error::BadId));
    EXPECT_EQ(DoShowPanel(), Host::Error::NoError);
    EXPECT_FALSE(WebAppPalette::HasInstance());
    EXPECT_EQ(host.dialog.Palette(), nullptr); // the window made first is deleted again
    ON_CALL(host.dialog, CreatePalette(_, _, _, _, _)).WillByDefault(Return(Host::Error::BadId));
    DoShowPanel();
    EXPECT_FALSE(WebAppPalette::HasInstance());
    EXPECT_THAT(LogText(), HasSubstr("WebAppPalette: palette not created"));
}

// An empty webAppUrl must load the built-in web app, an explicit one as given.
TEST_F(PaletteStateTest, EmptyWebAppUrlLoadsTheBuiltInDefault) {
    Settings::Get().webAppUrl.clear();
    WebAppPalette::CreateInstance();
    ASSERT_EQ(Page().loadedUrls.size(), 1u);
    std::string const url = Page().loadedUrls[0];
    EXPECT_EQ(url, Settings::DefaultWebAppUrl());
    EXPECT_EQ(url.substr(url.size() - 16), "/?embed=archicad");
    EXPECT_TRUE(Page().zoomingDisabled);
    WebAppPalette::DestroyInstance();
    Settings::Get().webAppUrl = "http://127.0.0.1:9/app";
    WebAppPalette::CreateInstance();
    EXPECT_EQ(Page().loadedUrls.back(), "http://127.0.0.1:9/app");
}

// The browser grows with the panel, inside one move/resize block.
TEST_F(PaletteStateTest, ResizeGrowsTheBrowserInsideAMoveBlock) {
    WebAppPalette::CreateInstance();
    Window().ResizeBy(30, -20);
    EXPECT_EQ(Page().width, 470);
    EXPECT_EQ(Page().height, 660);
    EXPECT_EQ(Page().resizesOutsideMoveBlock, 0);
    EXPECT_EQ(Window().openMoveResizeBlocks, 0);
}

// The hooks log at most eight calls each, and the wheel line says whether it was over the
// browser.
TEST_F(PaletteStateTest, HooksLogTheirFirstEightCallsOnly) {
    WebAppPalette::CreateInstance();
    bool processed = false;
    for (int i = 0; i < 12; ++i)
        Page().ItemObserver()->ItemMouseUp(Host::DG::ItemMouseUpEvent{}, &processed);
    Window().WheelOver(VELMORA_PALETTE_BROWSER_ITEM, -3, true);
    Window().WheelOver(0, 4, false);
    EXPECT_FALSE(processed);
    EXPECT_EQ(LogCount("Hook ItemMouseUp fired"), 8);
    EXPECT_EQ(LogCount("Hook PanelWheelTracked vy=-3 cmd=1 overBrowser=1 (log-only)"), 1);
    EXPECT_EQ(LogCount("Hook PanelWheelTracked vy=4 cmd=0 overBrowser=0 (log-only)"), 1);
}

// One synthetic wheel per 5 ms: a call inside the window neither runs nor moves the time, and
// nothing runs without a document.
TEST_F(PaletteStateTest, SyntheticWheelIsThrottledAndNeedsADocument) {
    WebAppPalette& palette = OpenWithPage();
    std::size_t const before = Page().scripts.size();
    palette.DispatchSyntheticCtrlWheel(120);
    palette.DispatchSyntheticCtrlWheel(-240); // within 5 ms: dropped
    ASSERT_EQ(Page().scripts.size(), before + 1);
    EXPECT_EQ(Page().scripts.back(),
              "window.__vlmSyntheticCtrlWheel&&window.__vlmSyntheticCtrlWheel(-100.000000);");
    std::this_thread::sleep_for(std::chrono::milliseconds(6));
    palette.DispatchSyntheticCtrlWheel(-60);
    EXPECT_EQ(Page().scripts.back(),
              "window.__vlmSyntheticCtrlWheel&&window.__vlmSyntheticCtrlWheel(50.000000);");
    std::this_thread::sleep_for(std::chrono::milliseconds(6));
    Page().StartLoading();
    palette.DispatchSyntheticCtrlWheel(120);
    EXPECT_EQ(Page().scripts.size(), before + 2);
    EXPECT_TRUE(Page().refusedScripts.empty()); // not even tried
}

} // namespace
} // namespace Velmora::Testing

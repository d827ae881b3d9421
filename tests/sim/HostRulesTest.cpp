// The simulated host and the test fake refuse what Archicad refuses: greyed menu items, flags
// of items that are not the caller's, and fault names that no host call has.
#include "ResourceIds.hpp"
#include "Sim/AddOnSession.hpp"
#include "Sim/PortCalls.hpp"
#include "Sim/SimHost.hpp"
#include "TriggerFilePoller.hpp"
#include "support/FakeHost.hpp"
#include "support/SimProcess.hpp"
#include "support/TempHome.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <regex>
#include <set>
#include <thread>

namespace Velmora::Testing {
namespace {

namespace fs = std::filesystem;

int gMenuCalls = 0;
Host::GSErrCode CountingMenuHandler(Host::API_MenuParams const*) {
    ++gMenuCalls;
    return Host::Error::NoError;
}

std::vector<bool> gSilentModes;
Host::GSErrCode RecordingCommandHandler(Host::GSHandle, Host::GSPtr, bool silentMode) {
    gSilentModes.push_back(silentMode);
    return Host::Error::NoError;
}

class MenuRulesTest : public testing::Test {
protected:
    MenuRulesTest() {
        EXPECT_TRUE(resources.Load(VELMORA_RESOURCE_FILE, VELMORA_RESOURCE_IDS_HEADER))
            << resources.Error();
        menus.SetFrontWindow([this] { return front; });
        for (short menu : {short(VELMORA_COMMAND_MENU), short(VELMORA_SETTINGS_MENU)}) {
            EXPECT_EQ(menus.RegisterMenu(menu, 0, Host::MenuCode_UserDef, 0), 0);
            EXPECT_EQ(menus.InstallMenuHandler(menu, CountingMenuHandler), 0);
        }
        gMenuCalls = 0;
    }

    Sim::CallLog calls{std::this_thread::get_id()};
    Sim::AddOnLifecycle addOn{calls};
    Sim::SimResources resources;
    Sim::SimMenus menus{calls, resources, addOn};
    Host::API_WindowTypeID front = Host::APIWind_3DModelID;
};

// Catches "grey item runs anyway": extract and send need the 3D window (or the plan they may
// switch from); the panel, the logs and the settings work above every window.
TEST_F(MenuRulesTest, ItemsRunOnlyAboveTheWindowsTheirResourceCodesName) {
    struct Item {
        short menu;
        Host::Int32 item;
        bool needs3D;
    };
    Item const items[] = {{VELMORA_COMMAND_MENU, 1, false},  {VELMORA_COMMAND_MENU, 2, true},
                          {VELMORA_COMMAND_MENU, 3, true},   {VELMORA_COMMAND_MENU, 4, false},
                          {VELMORA_SETTINGS_MENU, 1, false}, {VELMORA_SETTINGS_MENU, 2, false},
                          {VELMORA_SETTINGS_MENU, 3, false}};
    for (Host::API_WindowTypeID window :
         {Host::APIWind_3DModelID, Host::APIWind_FloorPlanID, Host::APIWind_SectionID,
          Host::APIWind_LayoutID, Host::APIWind_ElevationID, Host::APIWind_DetailID}) {
        front = window;
        bool const drawing =
            window != Host::APIWind_3DModelID && window != Host::APIWind_FloorPlanID;
        for (Item const& item : items) {
            bool const greyed = item.needs3D && drawing;
            std::string whyNot;
            int const before = gMenuCalls;
            bool const ran = menus.Choose(item.menu, item.item, whyNot).has_value();
            EXPECT_EQ(ran, !greyed) << item.menu << ":" << item.item << " window " << window;
            EXPECT_EQ(gMenuCalls, before + (greyed ? 0 : 1));
            if (greyed) {
                EXPECT_THAT(whyNot, testing::HasSubstr("greyed out above"));
            }
        }
    }
    // An item the add-on disabled is greyed above every window.
    Host::API_MenuItemRef const logs{VELMORA_COMMAND_MENU, 4};
    Host::GSFlags disabled = Host::MenuItemFlag::Disabled;
    ASSERT_EQ(menus.SetMenuItemFlags(&logs, &disabled), Host::Error::NoError);
    std::string whyNot;
    EXPECT_FALSE(menus.Choose(VELMORA_COMMAND_MENU, 4, whyNot));
    EXPECT_EQ(whyNot, "menu item 32500:4 is disabled");
}

// Catches "BADINDEX not returned": a host (or fake) that lets the add-on read or write flags of
// menus and items that are not its own; and the fake drifting from the resource file, so that
// it refuses a new menu item Archicad accepts (or the other way round).
TEST_F(MenuRulesTest, FlagsOfItemsThatAreNotTheCallersAreRefusedWithBadIndex) {
    FakeHost fake;
    std::map<short, Host::Int32> registered;
    for (auto const& [id, menu] : menus.Menus())
        registered[id] = static_cast<Host::Int32>(menu.items.size());
    EXPECT_EQ(fake.menuItemCounts, registered);
    Host::MenuItemApi* const hosts[] = {&menus, &fake.menuItem};
    Host::API_MenuItemRef const strangers[] = {{VELMORA_COMMAND_MENU, 0},
                                               {VELMORA_COMMAND_MENU, 5},
                                               {VELMORA_SETTINGS_MENU, 4},
                                               {32502, 1}};
    for (Host::MenuItemApi* host : hosts) {
        for (Host::API_MenuItemRef const& ref : strangers) {
            Host::GSFlags flags = 0;
            EXPECT_EQ(host->GetMenuItemFlags(&ref, &flags), Host::Error::BadIndex)
                << ref.menuResID << ":" << ref.itemIndex;
            EXPECT_EQ(host->SetMenuItemFlags(&ref, &flags), Host::Error::BadIndex);
        }
        Host::API_MenuItemRef const own{VELMORA_SETTINGS_MENU, 3};
        Host::GSFlags flags = 0;
        EXPECT_EQ(host->GetMenuItemFlags(&own, &flags), Host::Error::NoError);
        EXPECT_EQ(host->SetMenuItemFlags(&own, nullptr), Host::Error::BadPars);
    }
}

// Catches a host that calls the add-on's command in silent mode whatever the caller asked.
TEST(AddOnCommunicationRules, TheCallersSilentModeReachesTheHandler) {
    TempHome home;
    Sim::SimHostOptions options;
    options.hostFolder = home.Path().string();
    options.addOnId = {VELMORA_MDID_DEVELOPER, VELMORA_MDID_LOCAL};
    Sim::SimHost host(options);
    constexpr Host::GSType kCommand = 0x54455354; // 'TEST'
    ASSERT_EQ(host.AddOnAddOnCommunication().RegisterSupportedService(kCommand, 1), 0);
    ASSERT_EQ(
        host.AddOnIntegration().InstallModulCommandHandler(kCommand, 1, RecordingCommandHandler),
        0);
    gSilentModes.clear();
    for (bool silent : {false, true})
        host.AddOnAddOnCommunication().CallFromEventLoop(&options.addOnId, kCommand, 1, nullptr,
                                                         silent, nullptr);
    host.Loop().RunUntilSettled([] { return true; },
                                Sim::EventLoop::Clock::now() + std::chrono::seconds(2));
    EXPECT_EQ(gSilentModes, (std::vector<bool>{false, true}));
}

// Catches "Initialize forgets KeepInMemory -> the poller dies with the unload".
TEST(AddOnUnloadTest, TheAddOnStaysLoadedFromInitializeWithItsPollerRunning) {
    TempHome home;
    Sim::SimHostOptions options;
    options.hostFolder = (home.Path() / "host").string();
    options.addOnId = {VELMORA_MDID_DEVELOPER, VELMORA_MDID_LOCAL};
    Sim::SimHost host(options);
    std::string error;
    ASSERT_TRUE(host.LoadScene(error) && host.LoadResources(error)) << error;
    Sim::AddOnSession session(host);
    ASSERT_TRUE(session.Load(error)) << error;
    EXPECT_FALSE(host.AddOn().Unloaded());
    EXPECT_TRUE(TriggerFilePoller::IsRunning());
}

// Catches a call name missing from the list that --fail / --throw check: a real host call the
// simulated host answers would be refused on the command line.
TEST(PortCallNamesTest, EveryCallTheSimulatedHostRecordsIsListed) {
    fs::path const simFolder = fs::path(VELMORA_SCENES_DIR).parent_path();
    std::regex const literal("\"((ACAPI_|DG::|RSGet)[A-Za-z0-9_:]+)\"");
    std::set<std::string> recorded;
    for (fs::directory_entry const& entry : fs::directory_iterator(simFolder)) {
        if (entry.path().extension() != ".cpp" || entry.path().filename() == "PortCalls.cpp")
            continue;
        std::string const text = ReadFile(entry.path());
        for (std::sregex_iterator it(text.begin(), text.end(), literal), end; it != end; ++it)
            recorded.insert((*it)[1]);
    }
    EXPECT_GT(recorded.size(), 40u);
    for (std::string const& name : recorded)
        EXPECT_TRUE(Sim::IsPortCall(name)) << name;
    EXPECT_TRUE(Sim::IsPortCall("ModelerAPI::MeshBody::GetPolygon"));

    SimRun const listed = RunVelmoraSim({"--list-calls"});
    EXPECT_EQ(listed.exitStatus, 0);
    EXPECT_THAT(listed.OutLines(), testing::Contains("ACAPI_KeepInMemory"));
}

} // namespace
} // namespace Velmora::Testing

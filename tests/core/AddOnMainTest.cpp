// The entry points as the host calls them, and the menu handler's routing.
#include "AddOnMain.hpp"
#include "MainThreadDispatcher.hpp"
#include "ResourceIds.hpp"
#include "Settings.hpp"
#include "TriggerFilePoller.hpp"
#include "support/AddOnTest.hpp"

namespace Velmora::Testing {
namespace {

using testing::_;
using testing::Return;

class EntryPointTest : public AddOnTest {};

TEST_F(EntryPointTest, CheckEnvironmentNamesTheAddOnAndAsksToBePreloaded) {
    Host::API_EnvirParams envir;
    EXPECT_EQ(CheckEnvironment(&envir), Host::APIAddon_Preload);
    EXPECT_EQ(envir.addOnInfo.name, "Velmora");
    EXPECT_EQ(envir.addOnInfo.description, "The Velmora add-on");
}

TEST_F(EntryPointTest, RegisterInterfaceRegistersBothMenusThenTheService) {
    testing::InSequence order;
    EXPECT_CALL(host.menuItem, RegisterMenu(VELMORA_COMMAND_MENU, 0, Host::MenuCode_UserDef, 0));
    EXPECT_CALL(host.menuItem, RegisterMenu(VELMORA_SETTINGS_MENU, 0, Host::MenuCode_UserDef, 0));
    EXPECT_CALL(host.communication, RegisterSupportedService(MainThreadDispatcher::kCommandId, 1));
    EXPECT_EQ(RegisterInterface(), Host::Error::NoError);
}

TEST_F(EntryPointTest, RegisterInterfaceStopsAtTheFirstFailure) {
    EXPECT_CALL(host.menuItem, RegisterMenu(VELMORA_COMMAND_MENU, _, _, _))
        .WillOnce(Return(Host::Error::NoError));
    EXPECT_CALL(host.menuItem, RegisterMenu(VELMORA_SETTINGS_MENU, _, _, _))
        .WillOnce(Return(Host::Error::BadId));
    EXPECT_CALL(host.communication, RegisterSupportedService(_, _)).Times(0);
    EXPECT_EQ(RegisterInterface(), Host::Error::BadId);
}

TEST_F(EntryPointTest, RegisterInterfaceReturnsTheServiceRegistrationsError) {
    ON_CALL(host.communication, RegisterSupportedService(_, _))
        .WillByDefault(Return(Host::Error::MemFull));
    EXPECT_EQ(RegisterInterface(), Host::Error::MemFull);
}

TEST_F(EntryPointTest, InitializeInstallsEverythingAndFreeDataStopsThePoller) {
    EXPECT_CALL(host, RegisterModelessWindow(_, _, 0x3F7u, _));
    ASSERT_EQ(Initialize(), Host::Error::NoError);
    EXPECT_NE(host.MenuHandler(VELMORA_COMMAND_MENU), nullptr);
    EXPECT_NE(host.MenuHandler(VELMORA_SETTINGS_MENU), nullptr);
    // The mask is on by default: its check mark is set; the other two are clear.
    EXPECT_EQ(host.MenuFlags(VELMORA_SETTINGS_MENU, 1), Host::MenuItemFlag::Checked);
    EXPECT_EQ(host.MenuFlags(VELMORA_SETTINGS_MENU, 2), 0u);
    EXPECT_TRUE(TriggerFilePoller::IsRunning());

    EXPECT_EQ(FreeData(), Host::Error::NoError);
    EXPECT_FALSE(TriggerFilePoller::IsRunning());
    std::string const log = LogText();
    EXPECT_NE(log.find("[INFO ] Velmora: Initialize"), std::string::npos);
    EXPECT_NE(log.find("[INFO ] Velmora: FreeData"), std::string::npos);
}

TEST_F(EntryPointTest, AFailedMenuHandlerInstallationStopsInitializeAtOnce) {
    EXPECT_CALL(host.menuItem, InstallMenuHandler(VELMORA_COMMAND_MENU, _))
        .WillOnce(Return(Host::Error::BadId));
    EXPECT_CALL(host.menuItem, InstallMenuHandler(VELMORA_SETTINGS_MENU, _)).Times(0);
    EXPECT_CALL(host, RegisterModelessWindow(_, _, _, _)).Times(0);
    EXPECT_EQ(Initialize(), Host::Error::BadId);
    EXPECT_FALSE(TriggerFilePoller::IsRunning());

    EXPECT_CALL(host.menuItem, InstallMenuHandler(VELMORA_COMMAND_MENU, _))
        .WillOnce(Return(Host::Error::NoError));
    EXPECT_CALL(host.menuItem, InstallMenuHandler(VELMORA_SETTINGS_MENU, _))
        .WillOnce(Return(Host::Error::BadPars));
    EXPECT_EQ(Initialize(), Host::Error::BadPars);
    EXPECT_FALSE(TriggerFilePoller::IsRunning());
}

TEST_F(EntryPointTest, AFailedDispatcherHandlerOnlyWarns) {
    ON_CALL(host.integration, InstallModulCommandHandler(_, _, _))
        .WillByDefault(Return(Host::Error::ModulCmdNotSupported));
    EXPECT_EQ(Initialize(), Host::Error::NoError);
    EXPECT_TRUE(TriggerFilePoller::IsRunning());
    FreeData();
    EXPECT_NE(LogText().find("[WARN ] Velmora: main-thread dispatcher handler not installed"),
              std::string::npos);
}

TEST_F(EntryPointTest, AFailedPaletteRegistrationLeavesThePollerUnstarted) {
    ON_CALL(host, RegisterModelessWindow(_, _, _, _)).WillByDefault(Return(Host::Error::BadId));
    EXPECT_EQ(Initialize(), Host::Error::BadId);
    EXPECT_FALSE(TriggerFilePoller::IsRunning());
}

TEST_F(EntryPointTest, InitializeLetsSettingsCfgWinOverThePreferenceBlob) {
    Settings blobSource;
    blobSource.extractOptions.includeMask = false;
    blobSource.lastLoginEmail = "blob@example.com";
    host.preferences = blobSource.Serialize();
    host.preferencesVersion = 2;
    WriteFile(SettingsFile(), "lastLoginEmail=cfg@example.com\n");
    ASSERT_EQ(Initialize(), Host::Error::NoError);
    EXPECT_EQ(Settings::Get().lastLoginEmail, "cfg@example.com");
    EXPECT_FALSE(Settings::Get().extractOptions.includeMask); // from the blob, untouched by cfg
    EXPECT_EQ(host.MenuFlags(VELMORA_SETTINGS_MENU, 1), 0u);
    FreeData();
}

class MenuHandlerTest : public AddOnTest {};

TEST_F(MenuHandlerTest, ANullParameterBlockIsRejectedWithoutAction) {
    EXPECT_CALL(host, WriteReport(_, _)).Times(0);
    EXPECT_EQ(MenuCommandHandler(nullptr), Host::Error::BadPars);
    EXPECT_EQ(static_cast<std::uint32_t>(Host::Error::BadPars), 0x81060068u);
}

TEST_F(MenuHandlerTest, UnknownMenusAndItemsAreIgnored) {
    EXPECT_CALL(host, WriteReport(_, _)).Times(0);
    EXPECT_CALL(host.menuItem, SetMenuItemFlags(_, _)).Times(0);
    for (auto [menu, item] : {std::pair<short, int>{VELMORA_COMMAND_MENU, 0},
                              {VELMORA_COMMAND_MENU, 5},
                              {VELMORA_SETTINGS_MENU, 0},
                              {VELMORA_SETTINGS_MENU, 4},
                              {32502, 1}}) {
        Host::API_MenuParams params;
        params.menuItemRef = {menu, item};
        EXPECT_EQ(MenuCommandHandler(&params), Host::Error::NoError) << menu << ":" << item;
    }
    EXPECT_FALSE(std::filesystem::exists(SettingsFile()));
}

TEST_F(MenuHandlerTest, SettingsItemsRunTheirToggles) {
    for (int item = 1; item <= 3; ++item) {
        Host::API_MenuParams params;
        params.menuItemRef = {VELMORA_SETTINGS_MENU, item};
        EXPECT_EQ(MenuCommandHandler(&params), Host::Error::NoError);
    }
    ExtractOptions const& options = Settings::Get().extractOptions;
    EXPECT_FALSE(options.includeMask);
    EXPECT_TRUE(options.debugDump);
    EXPECT_TRUE(options.maskSplitInstances);
    EXPECT_EQ(host.Reports().size(), 3u);
}

TEST_F(MenuHandlerTest, CommandItemsReloadSettingsCfgBeforeTheyRun) {
    Host::API_MenuParams params;
    params.menuItemRef = {VELMORA_COMMAND_MENU, 2};
    WriteFile(SettingsFile(), "highResLongEdge=4096\n");
    MenuCommandHandler(&params);
    EXPECT_EQ(Settings::Get().extractOptions.highResLongEdge, 4096);

    params.menuItemRef.itemIndex = 3;
    WriteFile(SettingsFile(), "buildingOnly=false\n");
    MenuCommandHandler(&params);
    EXPECT_FALSE(Settings::Get().buildingOnly);
}

} // namespace
} // namespace Velmora::Testing

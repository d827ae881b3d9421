// The command functions behind menu items and trigger files.
#include "Commands.hpp"
#include "ResourceIds.hpp"
#include "Settings.hpp"
#include "support/AddOnTest.hpp"

namespace Velmora::Testing {
namespace {

using testing::_;
using testing::Field;
using testing::Pointee;
using testing::Return;

class ToggleTest : public AddOnTest {};

TEST_F(ToggleTest, EachToggleFlipsOnlyItsFlagTwiceWithSettingsCfgMarkAndMessageInStep) {
    struct Case {
        Host::GSErrCode (*toggle)();
        bool ExtractOptions::*flag;
        char const* key;
        char const* onText;
        char const* offText;
    };
    Case const cases[] = {
        {DoToggleMask, &ExtractOptions::includeMask, "includeMask",
         "Velmora: Semantic Mask is ON. Each extract also renders a per-category color mask and "
         "uploads it with the 3D view.",
         "Velmora: Semantic Mask is OFF (uploads the 3D view only)."},
        {DoToggleDebugDump, &ExtractOptions::debugDump, "debugDump",
         "Velmora: Save Debug Capture is ON. Each extract writes a copy of the captured image to "
         "the logs folder (last_extract.jpg); open it via View Logs.",
         "Velmora: Save Debug Capture is OFF."},
        {DoToggleMaskInstances, &ExtractOptions::maskSplitInstances, "maskSplitInstances",
         "Velmora: mask colors are now PER ELEMENT. Every element becomes its own selectable "
         "segment in the panel.",
         "Velmora: mask colors are now PER ELEMENT TYPE. Elements of the same type (walls, "
         "windows, ...) share one segment color."},
    };
    Settings::Get().extractOptions.viewName = "Kept";
    for (int item = 1; item <= 3; ++item) {
        Case const& c = cases[item - 1];
        bool const initial = Settings::Get().extractOptions.*c.flag;
        for (bool const expected : {!initial, initial}) {
            std::size_t const reportsBefore = host.Reports().size();
            c.toggle();
            ExtractOptions const& options = Settings::Get().extractOptions;
            EXPECT_EQ(options.*c.flag, expected) << c.key;
            EXPECT_EQ(options.viewName, "Kept");
            EXPECT_THAT(ReadFile(SettingsFile()),
                        testing::HasSubstr(std::string("\n") + c.key + "=" +
                                           (expected ? "true" : "false") + "\n"));
            EXPECT_EQ(host.MenuFlags(VELMORA_SETTINGS_MENU, item),
                      expected ? Host::MenuItemFlag::Checked : 0u);
            ASSERT_EQ(host.Reports().size(), reportsBefore + 1);
            EXPECT_EQ(host.Reports().back().text, expected ? c.onText : c.offText);
            EXPECT_FALSE(host.Reports().back().alert);
        }
    }
    EXPECT_TRUE(Settings::Get().extractOptions.includeMask); // each flag is back where it was
}

TEST_F(ToggleTest, CheckMarksKeepOtherFlagBitsAndSkipItemsWhoseFlagsCannotBeRead) {
    auto const item = [](int index) {
        return Pointee(Field(&Host::API_MenuItemRef::itemIndex, index));
    };
    ON_CALL(host.menuItem, GetMenuItemFlags(item(1), _))
        .WillByDefault([](const Host::API_MenuItemRef*, Host::GSFlags* flags) {
            *flags = Host::MenuItemFlag::Disabled;
            return Host::Error::NoError;
        });
    EXPECT_CALL(host.menuItem, GetMenuItemFlags(_, _)).Times(testing::AnyNumber());
    EXPECT_CALL(host.menuItem, SetMenuItemFlags(_, _)).Times(testing::AnyNumber());
    EXPECT_CALL(host.menuItem, GetMenuItemFlags(item(2), _))
        .WillOnce(Return(Host::Error::BadIndex));
    EXPECT_CALL(host.menuItem, SetMenuItemFlags(item(2), _)).Times(0);
    Settings::Get().extractOptions.maskSplitInstances = true;

    SyncSettingsMenuChecks();
    EXPECT_EQ(host.MenuFlags(VELMORA_SETTINGS_MENU, 1),
              Host::MenuItemFlag::Disabled | Host::MenuItemFlag::Checked);
    EXPECT_EQ(host.MenuFlags(VELMORA_SETTINGS_MENU, 3), Host::MenuItemFlag::Checked);
}

class SettingsCommandTest : public AddOnTest {};

TEST_F(SettingsCommandTest, WritesTheCompleteFileAndOpensIt) {
    FakeOpener opener(0);
    WriteFile(SettingsFile(), "# a note of the user's\nhighResLongEdge=4096\n");
    Settings::Get().lastLoginEmail = "me@example.com";
    DoSettings();
    std::string const text = ReadFile(SettingsFile());
    EXPECT_EQ(text.rfind("# Velmora AI for ARCHICAD - machine-local settings\n", 0), 0u);
    EXPECT_NE(text.find("\nlastLoginEmail=me@example.com\n"), std::string::npos);
    EXPECT_EQ(opener.RecordedArguments(), SettingsFile().string() + "\n");
    ASSERT_EQ(host.Reports().size(), 1u);
    EXPECT_FALSE(host.Reports()[0].alert);
    EXPECT_EQ(host.Reports()[0].text, "Velmora: edit settings.cfg, save, then restart ARCHICAD "
                                      "(or reopen the panel) to apply your changes.");
}

TEST_F(SettingsCommandTest, AFailingOpenerIsReportedWithThePath) {
    FakeOpener opener(1);
    DoSettings();
    ASSERT_EQ(host.Reports().size(), 1u);
    EXPECT_TRUE(host.Reports()[0].alert);
    EXPECT_EQ(host.Reports()[0].text,
              "Velmora: could not open the settings file:\n" + SettingsFile().string());
}

TEST_F(SettingsCommandTest, NoHomeFolderIsReportedAndNothingIsWritten) {
    NoHome noHome;
    DoSettings();
    ASSERT_EQ(host.Reports().size(), 1u);
    EXPECT_TRUE(host.Reports()[0].alert);
    EXPECT_EQ(host.Reports()[0].text, "Velmora: could not resolve the settings folder.");
    EXPECT_FALSE(std::filesystem::exists(home.SupportFolder()));
}

TEST_F(SettingsCommandTest, ViewLogsOpensTheLogFolderOrSaysItCouldNot) {
    {
        FakeOpener opener(0);
        DoViewLogs();
        EXPECT_EQ(opener.RecordedArguments(), home.LogFolder().string() + "\n");
        EXPECT_TRUE(host.Reports().empty());
    }
    FakeOpener failing(3);
    DoViewLogs();
    ASSERT_EQ(host.Reports().size(), 1u);
    EXPECT_TRUE(host.Reports()[0].alert);
    EXPECT_EQ(host.Reports()[0].text, "Velmora: could not open the log folder.");
}

TEST_F(SettingsCommandTest, ExportReloadsSettingsCfgButTogglesDoNot) {
    WriteFile(SettingsFile(), "excludeVegetation=no\nincludeSiteMesh=yes\n");
    DoToggleDebugDump(); // rewrites the file from memory, dropping the edit
    EXPECT_TRUE(Settings::Get().excludeVegetation);

    WriteFile(SettingsFile(), "excludeVegetation=no\nincludeSiteMesh=yes\n");
    DoExportModel();
    EXPECT_FALSE(Settings::Get().excludeVegetation);
    EXPECT_TRUE(Settings::Get().includeSiteMesh);
}

} // namespace
} // namespace Velmora::Testing

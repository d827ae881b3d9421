#include "Settings.hpp"

#include "support/TempHome.hpp"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace Velmora::Testing {
namespace {

namespace fs = std::filesystem;

class LocalSettingsFileTest : public testing::Test {
protected:
    fs::path ConfigFile() const { return home.SupportFolder() / "settings.cfg"; }

    void LoadText(std::string const& text) {
        WriteFile(ConfigFile(), text);
        EXPECT_TRUE(settings.LoadLocalOverrides());
    }

    TempHome home;
    Settings settings;
};

TEST_F(LocalSettingsFileTest, ThePathIsInTheSupportFolderWhichNeedsAHome) {
    EXPECT_EQ(settings.LocalConfigPath(), ConfigFile().string());
    NoHome noHome;
    EXPECT_EQ(settings.LocalConfigPath(), "");
    ::setenv("HOME", "", 1);
    EXPECT_EQ(settings.LocalConfigPath(), "");
    // An empty HOME must not become a folder relative to the working directory.
    EXPECT_FALSE(fs::exists(fs::path("Library") / "Application Support" / "VelmoraAI"));
}

TEST_F(LocalSettingsFileTest, SavingTheDefaultsWritesTheCommentedTemplate) {
    ASSERT_TRUE(settings.SaveLocalFile());
    std::string const expected =
        "# Velmora AI for ARCHICAD - machine-local settings\n"
        "# Edit these values, save, then restart ARCHICAD (or reopen the panel).\n"
        "# NEVER put secrets here (the auth token is never stored on disk).\n"
        "webAppUrl=https://app.velmora.ai/?embed=archicad\n"
        "apiBaseUrl=https://api.velmora.ai\n"
        "lastLoginEmail=\n"
        "includeMask=true\n"
        "# maskSplitInstances: true = every element gets its own mask colour (select\n"
        "# single elements in the webapp); false = one colour per category.\n"
        "maskSplitInstances=false\n"
        "# highResLongEdge: long-edge target of every extract. When the native save\n"
        "# ships less, the capture tiles the view (shifted-affine tiles at the native\n"
        "# window size, stitched; same look/framing, window never resized) up to this\n"
        "# size. Set it at or below your window's native long edge to disable tiling.\n"
        "highResLongEdge=2048\n"
        "# debugDump: when true, writes a copy of each capture into the logs folder\n"
        "# as last_extract.jpg (+ last_mask.png when the mask is on).\n"
        "debugDump=false\n"
        "# includeSiteMesh: 'Extract 3D Model' only. false (default) drops the\n"
        "# site/terrain Mesh from the exported .glb - the Location Placement widget\n"
        "# already renders the model on map tiles, and an exported terrain dominates\n"
        "# the bounding box, shifts the model off the placement pin and buries ground\n"
        "# level (demo project: a 366 x 369 x 20 m terrain around a 21 m building).\n"
        "# Set true only if you model real building geometry with the Mesh tool.\n"
        "includeSiteMesh=false\n"
        "# buildingOnly: 'Extract 3D Model' only. true (default) exports the building\n"
        "# being worked on and drops site slabs/morphs/objects around it: the wall,\n"
        "# window, door, curtain-wall, column, beam, roof, stair and railing elements\n"
        "# define a building envelope, and an ambiguous element is kept only when most\n"
        "# of its plan area falls inside it. Set false to export everything visible.\n"
        "buildingOnly=true\n"
        "# excludeVegetation: drops entourage trees/plants (billboard foliage on\n"
        "# Object elements). true by default - the Location Placement map tiles\n"
        "# already contain the real vegetation. Set false to keep ARCHICAD's.\n"
        "excludeVegetation=true\n";
    EXPECT_EQ(ReadFile(ConfigFile()), expected);
}

TEST_F(LocalSettingsFileTest, EveryKeyReadsBackIntoItsOwnFieldAndTheTokenIsNeverWritten) {
    settings.SetAuthToken("SecretToken");
    ASSERT_TRUE(settings.SaveLocalFile());
    std::string const defaults = ReadFile(ConfigFile());
    EXPECT_EQ(defaults.find("SecretToken"), std::string::npos);
    // One line changed at a time, so a key read into or written from the wrong field shows.
    for (std::string const line :
         {"webAppUrl=https://example.test/app?embed=archicad&x=1",
          "apiBaseUrl=https://example.test/api", "lastLoginEmail=user@example.test",
          "highResLongEdge=8192", "includeMask=false", "maskSplitInstances=true", "debugDump=true",
          "includeSiteMesh=true", "buildingOnly=false", "excludeVegetation=false"}) {
        std::string text = defaults;
        std::size_t const start = text.find("\n" + line.substr(0, line.find('=') + 1)) + 1;
        text.replace(start, text.find('\n', start) - start, line);
        WriteFile(ConfigFile(), text);
        Settings reloaded;
        ASSERT_TRUE(reloaded.LoadLocalOverrides() && reloaded.SaveLocalFile()) << line;
        EXPECT_EQ(ReadFile(ConfigFile()), text) << line;
    }
    fs::remove(ConfigFile());
    fs::create_directories(ConfigFile());
    EXPECT_FALSE(settings.SaveLocalFile()); // a folder in the file's place
}

TEST_F(LocalSettingsFileTest, LongEdgeIsAcceptedOnlyFrom256To32767) {
    // 4294967808 is 2^32 + 512, which must not wrap into the range.
    std::vector<std::pair<std::string, std::int32_t>> const cases = {
        {"255", 2048},    {"256", 256},  {"32767", 32767}, {"32768", 2048},
        {"4096px", 4096}, {"abc", 2048}, {"-4096", 2048},  {"4294967808", 2048}};
    for (auto const& [value, expected] : cases) {
        settings.extractOptions.highResLongEdge = 2048;
        LoadText("highResLongEdge=" + value + "\n");
        EXPECT_EQ(settings.extractOptions.highResLongEdge, expected) << value;
    }
}

TEST_F(LocalSettingsFileTest, BoolWordsAreExactAndUnknownWordsKeepTheValue) {
    std::pair<std::optional<bool>, std::vector<std::string>> const groups[] = {
        {true, {"1", "true", "TRUE", "yes", "on"}},
        {false, {"0", "false", "FALSE", "no", "off"}},
        {std::nullopt, {"True", "YES", "", "2", "onn"}}};
    bool& field = settings.extractOptions.debugDump;
    for (auto const& [parsed, words] : groups)
        for (std::string const& word : words)
            for (bool before : {false, true}) {
                field = before;
                LoadText("debugDump=" + word + "\n");
                EXPECT_EQ(field, parsed.value_or(before)) << word << " over " << before;
            }
}

TEST_F(LocalSettingsFileTest, LinesAreTrimmedSplitAtTheFirstEqualsAndApplyInOrder) {
    std::string const defaultApi = settings.apiBaseUrl;
    settings.lastLoginEmail = "old@example.test";
    settings.extractOptions.highResLongEdge = 1024;
    LoadText("IncludeMask=false\n"
             "  webAppUrl \t=  https://example.test/?embed=archicad&token=a=b c  \r\n"
             "apiBaseUrl=   \n"
             "lastLoginEmail=\r\n"
             "lastLoginEmail\n"
             "excludeVegetation=no\n"
             "excludeVegetation=yes");
    EXPECT_TRUE(settings.extractOptions.includeMask);
    EXPECT_EQ(settings.webAppUrl, "https://example.test/?embed=archicad&token=a=b c");
    EXPECT_EQ(settings.apiBaseUrl, defaultApi); // an empty address is ignored...
    EXPECT_EQ(settings.lastLoginEmail, "");     // ...but an empty email clears
    EXPECT_TRUE(settings.excludeVegetation);
    EXPECT_EQ(settings.extractOptions.highResLongEdge, 1024); // unmentioned keys stay
}

} // namespace
} // namespace Velmora::Testing

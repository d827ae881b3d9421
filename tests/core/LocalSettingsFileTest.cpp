#include "Settings.hpp"

#include "support/TempHome.hpp"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

namespace Velmora::Testing {
namespace {

namespace fs = std::filesystem;

std::vector<std::string> const kBoolKeys = {"includeMask",  "maskSplitInstances",
                                            "debugDump",    "includeSiteMesh",
                                            "buildingOnly", "excludeVegetation"};

// The field each boolean key of settings.cfg is documented to set.
bool& BoolFieldFor(Settings& settings, std::string const& key) {
    if (key == "includeMask")
        return settings.extractOptions.includeMask;
    if (key == "maskSplitInstances")
        return settings.extractOptions.maskSplitInstances;
    if (key == "debugDump")
        return settings.extractOptions.debugDump;
    if (key == "includeSiteMesh")
        return settings.includeSiteMesh;
    if (key == "buildingOnly")
        return settings.buildingOnly;
    return settings.excludeVegetation;
}

class LocalSettingsFileTest : public testing::Test {
protected:
    fs::path ConfigFile() const { return home.SupportFolder() / "settings.cfg"; }

    // Loads the given file text into a fresh settings object.
    Settings& LoadText(std::string const& text) {
        WriteFile(ConfigFile(), text);
        EXPECT_TRUE(settings.LoadLocalOverrides());
        return settings;
    }

    TempHome home;
    Settings settings;
};

TEST_F(LocalSettingsFileTest, PathLiesInTheSupportFolderWhichIsCreated) {
    EXPECT_EQ(settings.LocalConfigPath(), ConfigFile().string());
    EXPECT_TRUE(fs::is_directory(home.SupportFolder()));
    EXPECT_FALSE(fs::exists(ConfigFile())); // only the folder, never the file
}

TEST_F(LocalSettingsFileTest, WithoutAHomeNothingIsReadOrWritten) {
    settings.webAppUrl = "https://kept.test";
    for (bool unset : {true, false}) {
        NoHome noHome;
        if (!unset)
            ::setenv("HOME", "", 1);
        EXPECT_EQ(settings.LocalConfigPath(), "");
        EXPECT_FALSE(settings.LoadLocalOverrides());
        EXPECT_FALSE(settings.SaveLocalFile());
    }
    EXPECT_EQ(settings.webAppUrl, "https://kept.test");
    EXPECT_FALSE(settings.LoadLocalOverrides()); // home again, but no file yet
    // An empty HOME must not turn into a folder relative to the working directory.
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

TEST_F(LocalSettingsFileTest, SavedValuesReadBackAndNothingPrivateIsWritten) {
    settings.webAppUrl = "https://example.test/app?embed=archicad&x=1";
    settings.apiBaseUrl = "https://example.test/api";
    settings.lastLoginEmail = "user@example.test";
    settings.extractOptions.viewName = "SecretViewName";
    settings.extractOptions.highResLongEdge = 8192;
    settings.SetAuthToken("SecretToken");
    for (std::string const& key : kBoolKeys)
        BoolFieldFor(settings, key) = !BoolFieldFor(settings, key);
    ASSERT_TRUE(settings.SaveLocalFile());

    std::string const text = ReadFile(ConfigFile());
    EXPECT_EQ(text.find("SecretToken"), std::string::npos);
    EXPECT_EQ(text.find("SecretViewName"), std::string::npos);
    EXPECT_EQ(text.find("useCurrentViewSettings"), std::string::npos);

    Settings reloaded;
    ASSERT_TRUE(reloaded.LoadLocalOverrides());
    EXPECT_EQ(reloaded.webAppUrl, settings.webAppUrl);
    EXPECT_EQ(reloaded.apiBaseUrl, settings.apiBaseUrl);
    EXPECT_EQ(reloaded.lastLoginEmail, settings.lastLoginEmail);
    EXPECT_EQ(reloaded.extractOptions.highResLongEdge, 8192);
    EXPECT_EQ(reloaded.extractOptions.viewName, "");
    for (std::string const& key : kBoolKeys)
        EXPECT_EQ(BoolFieldFor(reloaded, key), BoolFieldFor(settings, key)) << key;
}

TEST_F(LocalSettingsFileTest, SavingOverAFolderFails) {
    fs::create_directories(ConfigFile());
    EXPECT_FALSE(settings.SaveLocalFile());
}

TEST_F(LocalSettingsFileTest, LongEdgeIsAcceptedOnlyFrom256To32767) {
    std::vector<std::pair<std::string, std::int32_t>> const cases = {
        {"highResLongEdge=255", 2048},
        {"highResLongEdge=256", 256},
        {"highResLongEdge=32767", 32767},
        {"highResLongEdge=32768", 2048},
        {"  highResLongEdge =   4096  \t", 4096},
        {"highResLongEdge=4096px", 4096},
        {"highResLongEdge=abc", 2048},
        {"highResLongEdge=", 2048},
        {"highResLongEdge=-4096", 2048},
        {"highResLongEdge=99999999999999999999999", 2048},
        {"highResLongEdge=4294967808", 2048}, // 2^32 + 512 must not wrap into range
    };
    for (auto const& [line, expected] : cases) {
        settings.extractOptions.highResLongEdge = 2048;
        EXPECT_EQ(LoadText(line + "\n").extractOptions.highResLongEdge, expected) << line;
    }
}

TEST_F(LocalSettingsFileTest, BoolWordsAreExactAndUnknownWordsKeepTheValue) {
    std::vector<std::string> const trueWords = {"1", "true", "TRUE", "yes", "on", " on\t"};
    std::vector<std::string> const falseWords = {"0", "false", "FALSE", "no", "off"};
    std::vector<std::string> const unknownWords = {"True", "YES", "Off", "", "2", "onn", "y"};
    for (std::string const& key : kBoolKeys) {
        for (std::string const& word : trueWords) {
            BoolFieldFor(settings, key) = false;
            EXPECT_TRUE(BoolFieldFor(LoadText(key + "=" + word + "\n"), key)) << key << word;
        }
        for (std::string const& word : falseWords) {
            BoolFieldFor(settings, key) = true;
            EXPECT_FALSE(BoolFieldFor(LoadText(key + "=" + word + "\n"), key)) << key << word;
        }
        for (bool current : {false, true})
            for (std::string const& word : unknownWords) {
                BoolFieldFor(settings, key) = current;
                EXPECT_EQ(BoolFieldFor(LoadText(key + "=" + word + "\n"), key), current)
                    << key << "=" << word;
            }
    }
}

TEST_F(LocalSettingsFileTest, CommentsBrokenLinesAndUnknownKeysAreSkippedOneByOne) {
    LoadText("# includeMask=false\n"
             "   ; includeMask=false\n"
             "\t#lastLoginEmail=comment@example.test\n"
             "debugDump\n"
             "IncludeMask=false\n"
             "somethingElse=true\n"
             "=true\n"
             "lastLoginEmail=applied@example.test\n");
    EXPECT_TRUE(settings.extractOptions.includeMask);
    EXPECT_FALSE(settings.extractOptions.debugDump);
    EXPECT_EQ(settings.lastLoginEmail, "applied@example.test");
}

TEST_F(LocalSettingsFileTest, OnlyTheFirstEqualsSplitsAndBlanksAroundBothSidesGo) {
    LoadText("  webAppUrl \t=  https://example.test/?embed=archicad&token=a=b  \r\n"
             "lastLoginEmail = two words@example.test \r\n"
             "debugDump=true\r\n");
    EXPECT_EQ(settings.webAppUrl, "https://example.test/?embed=archicad&token=a=b");
    EXPECT_EQ(settings.lastLoginEmail, "two words@example.test");
    EXPECT_TRUE(settings.extractOptions.debugDump);
}

TEST_F(LocalSettingsFileTest, EmptyAddressesAreIgnoredButAnEmptyEmailClears) {
    std::string const webAppUrl = settings.webAppUrl;
    std::string const apiBaseUrl = settings.apiBaseUrl;
    settings.lastLoginEmail = "old@example.test";
    LoadText("webAppUrl=\napiBaseUrl=   \nlastLoginEmail=\n");
    EXPECT_EQ(settings.webAppUrl, webAppUrl);
    EXPECT_EQ(settings.apiBaseUrl, apiBaseUrl);
    EXPECT_EQ(settings.lastLoginEmail, "");
}

TEST_F(LocalSettingsFileTest, LaterLinesWinAndUnmentionedKeysKeepTheirValues) {
    LoadText("apiBaseUrl=https://first.test\n"
             "highResLongEdge=1024\n"
             "apiBaseUrl=https://second.test\n"
             "includeMask=false\n"
             "includeMask=Off\n");
    EXPECT_EQ(settings.apiBaseUrl, "https://second.test");
    EXPECT_FALSE(settings.extractOptions.includeMask);

    LoadText("buildingOnly=no");
    EXPECT_FALSE(settings.buildingOnly);
    EXPECT_EQ(settings.apiBaseUrl, "https://second.test");
    EXPECT_EQ(settings.extractOptions.highResLongEdge, 1024);
    EXPECT_FALSE(settings.extractOptions.includeMask);
}

} // namespace
} // namespace Velmora::Testing

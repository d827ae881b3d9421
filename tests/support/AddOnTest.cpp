#include "support/AddOnTest.hpp"

#include "BackgroundWork.hpp"
#include "Logger.hpp"
#include "MainThreadDispatcher.hpp"
#include "Panel/WebAppPalette.hpp"
#include "ResourceIds.hpp"
#include "Settings.hpp"
#include "TriggerFilePoller.hpp"

#include <chrono>
#include <cstdlib>
#include <fstream>
#include <sstream>

namespace Velmora::Testing {

namespace fs = std::filesystem;

void ResetSettingsToDefaults() {
    Settings const defaults;
    Settings& settings = Settings::Get();
    settings.webAppUrl = defaults.webAppUrl;
    settings.apiBaseUrl = defaults.apiBaseUrl;
    settings.lastLoginEmail = defaults.lastLoginEmail;
    settings.extractOptions = defaults.extractOptions;
    settings.includeSiteMesh = defaults.includeSiteMesh;
    settings.buildingOnly = defaults.buildingOnly;
    settings.excludeVegetation = defaults.excludeVegetation;
    settings.ClearAuthToken();
}

AddOnTest::AddOnTest() {
    host.resourceStrings[{VELMORA_ADDON_INFO_STRINGS, 1}] = "Velmora";
    host.resourceStrings[{VELMORA_ADDON_INFO_STRINGS, 2}] = "The Velmora add-on";
    ResetSettingsToDefaults();
}

AddOnTest::~AddOnTest() {
    // Whatever a test left running must not outlive its HOME or its host.
    WebAppPalette::DestroyInstance();
    TriggerFilePoller::Stop();
    // Joined here as FreeData would: a thread that ended but was never joined is a leak.
    BackgroundWork::StopAll(std::chrono::seconds(10));
    MainThreadDispatcher::DrainNow();
    Logger::Get().Shutdown();
    ResetSettingsToDefaults();
}

std::string AddOnTest::LogText() const {
    return ReadFile(home.LogFolder() / "velmora.log");
}

std::vector<std::string> AddOnTest::ReportTexts() const {
    std::vector<std::string> texts;
    for (Report const& report : host.Reports())
        texts.push_back(report.text);
    return texts;
}

FakeOpener::FakeOpener(int exitStatus) {
    std::string pattern = (fs::temp_directory_path() / "velmora-opener-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr)
        throw std::runtime_error("mkdtemp failed");
    folder_ = pattern;
    std::string const script = "#!/bin/sh\nfor a in \"$@\"; do printf '%s\\n' \"$a\" >> '" +
                               (folder_ / "arguments").string() + "'; done\nexit " +
                               std::to_string(exitStatus) + "\n";
    for (char const* name : {"open", "xdg-open"}) {
        fs::path const file = folder_ / name;
        std::ofstream(file) << script;
        fs::permissions(file, fs::perms::owner_all);
    }
    char const* path = std::getenv("PATH");
    previousPath_ = path != nullptr ? path : "";
    ::setenv("PATH", (folder_.string() + ":" + previousPath_).c_str(), 1);
}

FakeOpener::~FakeOpener() {
    ::setenv("PATH", previousPath_.c_str(), 1);
    std::error_code ignored;
    fs::remove_all(folder_, ignored);
}

std::string FakeOpener::RecordedArguments() const {
    return ReadFile(folder_ / "arguments");
}

} // namespace Velmora::Testing

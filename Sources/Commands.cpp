#include "Commands.hpp"

#include "Export/ModelCommands.hpp"
#include "Extract/ExtractCommand.hpp"
#include "Host/HostPort.hpp"
#include "Logger.hpp"
#include "MenuCheckMark.hpp"
#include "Panel/WebAppPalette.hpp"
#include "ResourceIds.hpp"
#include "Settings.hpp"

#include <string>

namespace Velmora {

namespace {

// A check-marked item of the settings menu and the flag it shows.
struct SettingsToggle {
    Host::Int32 item;
    bool ExtractOptions::*flag;
    char const* onText;
    char const* offText;
};

constexpr SettingsToggle kMaskToggle{
    1, &ExtractOptions::includeMask,
    "Velmora: Semantic Mask is ON. Each extract also renders a per-category color mask and "
    "uploads it with the 3D view.",
    "Velmora: Semantic Mask is OFF (uploads the 3D view only)."};

constexpr SettingsToggle kDebugDumpToggle{
    2, &ExtractOptions::debugDump,
    "Velmora: Save Debug Capture is ON. Each extract writes a copy of the captured image to the "
    "logs folder (last_extract.jpg); open it via View Logs.",
    "Velmora: Save Debug Capture is OFF."};

constexpr SettingsToggle kMaskInstancesToggle{
    3, &ExtractOptions::maskSplitInstances,
    "Velmora: mask colors are now PER ELEMENT. Every element becomes its own selectable segment "
    "in the panel.",
    "Velmora: mask colors are now PER ELEMENT TYPE. Elements of the same type (walls, windows, "
    "...) share one segment color."};

constexpr SettingsToggle const* kSettingsToggles[] = {&kMaskToggle, &kDebugDumpToggle,
                                                      &kMaskInstancesToggle};

void ApplyExtractOptions(ExtractOptions const& options) {
    Settings& settings = Settings::Get();
    settings.extractOptions = options;
    settings.SaveLocalFile();
    SyncSettingsMenuChecks();
}

Host::GSErrCode RunToggle(SettingsToggle const& toggle) {
    // The group changes as one: copy, flip, assign back.
    ExtractOptions const before = Settings::Get().extractOptions;
    ExtractOptions options = before;
    options.*toggle.flag = !(options.*toggle.flag);
    try {
        ApplyExtractOptions(options);
        Host::Get().WriteReport(options.*toggle.flag ? toggle.onText : toggle.offText, false);
    } catch (...) {
        // Unconfirmed, the user is told it failed: then it must not have happened.
        ApplyExtractOptions(before);
        throw;
    }
    return Host::Error::NoError;
}

} // namespace

void SyncSettingsMenuChecks() {
    ExtractOptions const& options = Settings::Get().extractOptions;
    for (SettingsToggle const* toggle : kSettingsToggles)
        SetMenuItemChecked(VELMORA_SETTINGS_MENU, toggle->item, options.*(toggle->flag));
}

Host::GSErrCode DoToggleMask() {
    return RunToggle(kMaskToggle);
}
Host::GSErrCode DoToggleDebugDump() {
    return RunToggle(kDebugDumpToggle);
}
Host::GSErrCode DoToggleMaskInstances() {
    return RunToggle(kMaskInstancesToggle);
}

Host::GSErrCode DoShowPanel() {
    if (!WebAppPalette::HasInstance())
        WebAppPalette::CreateInstance();
    // The host may have refused the window; that is logged where it happened.
    if (WebAppPalette::HasInstance())
        WebAppPalette::GetInstance().Toggle();
    return Host::Error::NoError;
}

Host::GSErrCode DoExtractView() {
    Settings::Get().LoadLocalOverrides();
    ExtractOptions const options = Settings::Get().extractOptions;
    RunExtractAndUpload(options);
    return Host::Error::NoError;
}

Host::GSErrCode DoSendModel() {
    Settings::Get().LoadLocalOverrides();
    RunSendModelToVelmora();
    return Host::Error::NoError;
}

Host::GSErrCode DoExportModel() {
    Settings::Get().LoadLocalOverrides();
    RunExportModelToDisk();
    return Host::Error::NoError;
}

Host::GSErrCode DoSettings() {
    std::string const path = Settings::Get().LocalConfigPath();
    if (path.empty()) {
        Host::Get().WriteReport("Velmora: could not resolve the settings folder.", true);
        return Host::Error::NoError;
    }
    Settings::Get().SaveLocalFile();
    if (!OpenPathInOS(path)) {
        Host::Get().WriteReport("Velmora: could not open the settings file:\n" + path, true);
        return Host::Error::NoError;
    }
    Host::Get().WriteReport("Velmora: edit settings.cfg, save, then restart ARCHICAD (or reopen "
                            "the panel) to apply your changes.",
                            false);
    return Host::Error::NoError;
}

Host::GSErrCode DoViewLogs() {
    Logger::Get().Init();
    if (!Logger::Get().OpenLogFolder())
        Host::Get().WriteReport("Velmora: could not open the log folder.", true);
    return Host::Error::NoError;
}

} // namespace Velmora

#include "AddOnMain.hpp"

#include "BackgroundWork.hpp"
#include "Commands.hpp"
#include "Host/HostPort.hpp"
#include "HostEntry.hpp"
#include "Logger.hpp"
#include "MainThreadDispatcher.hpp"
#include "Panel/WebAppPalette.hpp"
#include "ResourceIds.hpp"
#include "Settings.hpp"
#include "TriggerFilePoller.hpp"

#include <chrono>
#include <cstddef>

namespace Velmora {

namespace {

std::string OwnResourceString(Host::Int32 index) {
    std::string text;
    Host::Port& host = Host::Get();
    host.RSGetIndString(&text, VELMORA_ADDON_INFO_STRINGS, index, host.GetOwnResModule());
    return text;
}

Host::GSErrCode RegisterMenu(short menuResId) {
    return Host::Get().MenuItem().RegisterMenu(menuResId, 0, Host::MenuCode_UserDef,
                                               Host::MenuFlag::Default);
}

// Long enough for a transfer to notice its stop (curl looks about once a second).
constexpr std::chrono::milliseconds kStopWait{5000};

using Command = Host::GSErrCode (*)();

// Item n of a menu runs entry n - 1.
constexpr Command kCommandMenuItems[] = {DoShowPanel, DoExtractView, DoSendModel, DoViewLogs};
constexpr Command kSettingsMenuItems[] = {DoToggleMask, DoToggleDebugDump, DoToggleMaskInstances};

template <std::size_t N>
Host::GSErrCode RunMenuItem(Command const (&items)[N], Host::Int32 item) {
    if (item < 1 || static_cast<std::size_t>(item) > N)
        return Host::Error::NoError; // not ours: ignored
    return items[item - 1]();
}

// The host unloads the add-on after the environment check and the registration anyway, and
// at FreeData it is leaving: only Initialize and the handlers ask to stay.
constexpr HostEntry kCheckEnvironmentEntry{"CheckEnvironment", false, false};
constexpr HostEntry kRegisterInterfaceEntry{"RegisterInterface", false, false};
// The poller and delayed work run from start-up: an add-on unloaded after Initialize would
// take their code with it.
constexpr HostEntry kInitializeEntry{"Initialize", false, true};
constexpr HostEntry kFreeDataEntry{"FreeData", false, false};
constexpr HostEntry kMenuEntry{"MenuCommandHandler", true, true};

Host::API_AddonType DescribeAddOn(Host::API_EnvirParams* envir) {
    if (envir != nullptr) {
        envir->addOnInfo.name = OwnResourceString(1);
        envir->addOnInfo.description = OwnResourceString(2);
    }
    // Preloaded so that the trigger poller runs from the host's start.
    return Host::APIAddon_Preload;
}

Host::GSErrCode RegisterMenusAndService() {
    if (Host::GSErrCode err = RegisterMenu(VELMORA_COMMAND_MENU); err != Host::Error::NoError)
        return err;
    if (Host::GSErrCode err = RegisterMenu(VELMORA_SETTINGS_MENU); err != Host::Error::NoError)
        return err;
    return MainThreadDispatcher::RegisterService();
}

Host::GSErrCode StartUp() {
    Logger::Get().Init();
    Logger::Get().Log(LogLevel::Info, "Velmora: Initialize");

    Settings::Get().Load();
    Settings::Get().LoadLocalOverrides();

    Host::MenuItemApi& menus = Host::Get().MenuItem();
    if (Host::GSErrCode err = menus.InstallMenuHandler(VELMORA_COMMAND_MENU, MenuCommandHandler);
        err != Host::Error::NoError)
        return err;
    if (Host::GSErrCode err = menus.InstallMenuHandler(VELMORA_SETTINGS_MENU, MenuCommandHandler);
        err != Host::Error::NoError)
        return err;
    SyncSettingsMenuChecks();

    if (MainThreadDispatcher::InstallHandler() != Host::Error::NoError)
        Logger::Get().Log(LogLevel::Warn, "Velmora: main-thread dispatcher handler not installed");

    if (Host::GSErrCode err = WebAppPalette::RegisterPaletteControlCallBack();
        err != Host::Error::NoError)
        return err;

    TriggerFilePoller::Start();
    return Host::Error::NoError;
}

// After this no thread of ours runs, and nothing queued outlives the code it would call.
void StopBackgroundWork() {
    if (std::size_t const stuck = BackgroundWork::StopAll(kStopWait); stuck > 0)
        Logger::Get().Log(LogLevel::Error, "Velmora: " + std::to_string(stuck) +
                                               " background thread(s) still running at FreeData");
    MainThreadDispatcher::DropQueued();
}

void LogFreeData() {
    Logger::Get().Log(LogLevel::Info, "Velmora: FreeData");
}

void ShutDownLogger() {
    Logger::Get().Shutdown();
}

Host::GSErrCode RunMenuCommand(Host::API_MenuParams const* menuParams) {
    if (menuParams == nullptr)
        return Host::Error::BadPars;
    Host::API_MenuItemRef const& ref = menuParams->menuItemRef;
    switch (ref.menuResID) {
    case VELMORA_COMMAND_MENU:
        return RunMenuItem(kCommandMenuItems, ref.itemIndex);
    case VELMORA_SETTINGS_MENU:
        return RunMenuItem(kSettingsMenuItems, ref.itemIndex);
    default:
        return Host::Error::NoError;
    }
}

} // namespace

Host::API_AddonType CheckEnvironment(Host::API_EnvirParams* envir) {
    // An add-on whose check blew up is better not loaded.
    return GuardHostEntry(kCheckEnvironmentEntry, Host::APIAddon_DontRegister,
                          [envir] { return DescribeAddOn(envir); });
}

Host::GSErrCode RegisterInterface() {
    return GuardHostEntry(kRegisterInterfaceEntry, Host::Error::General, RegisterMenusAndService);
}

Host::GSErrCode Initialize() {
    return GuardHostEntry(kInitializeEntry, Host::Error::General, StartUp);
}

Host::GSErrCode FreeData() {
    // Every step runs even after one threw: the poller joined and the log closed leave the
    // add-on ready for a later Initialize.
    bool const clean = RunEveryStep(
        kFreeDataEntry, {TriggerFilePoller::Stop, StopBackgroundWork, LogFreeData, ShutDownLogger});
    return clean ? Host::Error::NoError : Host::Error::General;
}

Host::GSErrCode MenuCommandHandler(Host::API_MenuParams const* menuParams) {
    return GuardHostEntry(kMenuEntry, Host::Error::General,
                          [menuParams] { return RunMenuCommand(menuParams); });
}

} // namespace Velmora

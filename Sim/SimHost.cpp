#include "Sim/SimHost.hpp"

#include "Sim/SampleScene.hpp"

#include <cstdio>
#include <thread>

namespace Velmora::Sim {

namespace {

std::string PreferencesPath(SimHostOptions const& options) {
    char name[64];
    std::snprintf(name, sizeof name, "%08X-%08X.prefs", options.addOnId.developerID,
                  options.addOnId.localID);
    return options.hostFolder + "/Preferences/" + name;
}

} // namespace

SimHost::SimHost(SimHostOptions options)
    : options_(std::move(options)), calls_(std::this_thread::get_id()), addOn_(calls_),
      menus_(calls_, resources_, addOn_), communication_(calls_, loop_, addOn_, options_.addOnId),
      preferences_(PreferencesPath(options_)), project_(calls_, addOn_),
      window3D_(calls_, options_.hostFolder, options_.window),
      dialogs_(calls_, loop_, addOn_, resources_, kOwnResModule) {
    project_.AttachWindow3D(&window3D_);
    menus_.SetFrontWindow([this] { return window3D_.CurrentWindowType(); });
    addOn_.SetHostHooks({[this] { return KeepsAddOnLoaded(); }, [this] { ForgetAddOnHandlers(); }});
    dialogs_.SetEngineFactory(options_.makeBrowserEngine);
    dialogs_.SetCefDebugPort(options_.cefDebugPort);
}

bool SimHost::LoadResources(std::string& error) {
    if (resources_.Load(options_.resourceFile, options_.resourceIdsHeader))
        return true;
    error = resources_.Error();
    return false;
}

bool SimHost::LoadScene(std::string& error) {
    std::optional<Scene> scene = LoadSceneOrSample(options_.scenePath, error);
    if (!scene)
        return false;
    auto const opened = std::make_shared<Scene const>(std::move(*scene));
    project_.Open(opened);
    window3D_.Open(opened);
    return true;
}

void SimHost::WriteReport(const std::string& text, bool withDial) {
    calls_.Enter("ACAPI_WriteReport");
    SimReport const report{text, withDial};
    std::function<void(SimReport const&)> listener;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        reports_.push_back(report);
        listener = reportListener_;
    }
    if (listener)
        listener(report);
}

Host::GSErrCode SimHost::GetPreferences(Host::Int32* version, Host::GSSize* nByte, void* data) {
    if (auto err = calls_.Enter("ACAPI_GetPreferences"))
        return *err;
    return preferences_.Get(version, nByte, data);
}

Host::GSErrCode SimHost::SetPreferences(Host::Int32 version, Host::GSSize nByte, const void* data) {
    if (auto err = calls_.Enter("ACAPI_SetPreferences"))
        return *err;
    return preferences_.Set(version, nByte, data);
}

void SimHost::KeepInMemory(bool keepIn) {
    calls_.Enter("ACAPI_KeepInMemory");
    addOn_.KeepInMemory(keepIn);
}

bool SimHost::KeepsAddOnLoaded() {
    return dialogs_.HasOpenPalette() || project_.Events().Caught() != 0;
}

// What Initialize installed lives in the add-on's code, which is gone.
void SimHost::ForgetAddOnHandlers() {
    menus_.ForgetHandlers();
    communication_.ForgetHandlers();
    project_.Events().Forget();
    std::lock_guard<std::mutex> lock(mutex_);
    palettes_.clear();
}

void SimHost::GetReleaseNumber(Host::API_ServerApplicationInfo* serverApplicationInfo) {
    calls_.Enter("ACAPI_GetReleaseNumber");
    if (serverApplicationInfo == nullptr)
        return;
    serverApplicationInfo->serverApplication = Host::APIAppl_ArchiCADID;
    serverApplicationInfo->mainVersion = 28;
    serverApplicationInfo->releaseVersion = 0;
    serverApplicationInfo->buildNum = 5000;
    serverApplicationInfo->language = "INT";
}

Host::GSErrCode SimHost::RegisterModelessWindow(Host::Int32 referenceID,
                                                Host::APIPaletteControlCallBackProc* callBackProc,
                                                Host::GSFlags controlFlags,
                                                const Host::API_Guid& paletteGuid) {
    if (auto err = calls_.Enter("ACAPI_RegisterModelessWindow"))
        return *err;
    std::lock_guard<std::mutex> lock(mutex_);
    for (SimPalette const& palette : palettes_) {
        if (palette.referenceID == referenceID)
            return Host::Error::BadId;
    }
    palettes_.push_back({referenceID, callBackProc, controlFlags, paletteGuid});
    return Host::Error::NoError;
}

Host::GSErrCode SimHost::SendPaletteMessage(Host::API_PaletteMessageID message,
                                            std::intptr_t param) {
    std::vector<SimPalette> palettes;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        palettes = palettes_;
    }
    Host::GSErrCode result = Host::Error::BadId;
    for (SimPalette const& palette : palettes) {
        AddOnLifecycle::Call call(addOn_);
        result = palette.callBack(palette.referenceID, message, param);
    }
    return result;
}

SimPaletteWindow* SimHost::RegisteredPaletteWindow() const {
    std::lock_guard<std::mutex> lock(mutex_);
    for (SimPalette const& palette : palettes_) {
        if (SimPaletteWindow* window = dialogs_.FindPalette(palette.guid))
            return window;
    }
    return nullptr;
}

Host::GSResModule SimHost::GetOwnResModule() {
    calls_.Enter("ACAPI_GetOwnResModule");
    return kOwnResModule;
}

bool SimHost::RSGetIndString(std::string* result, Host::Int32 resID, Host::Int32 index,
                             Host::GSResModule resModule) {
    if (calls_.Enter("RSGetIndString"))
        return false;
    std::vector<std::string> const* list = resources_.StringList(resID);
    if (result == nullptr || resModule != kOwnResModule || list == nullptr || index < 1 ||
        index > static_cast<Host::Int32>(list->size()))
        return false;
    *result = (*list)[static_cast<std::size_t>(index - 1)];
    return true;
}

std::vector<SimReport> SimHost::Reports() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return reports_;
}

void SimHost::OnReport(std::function<void(SimReport const&)> listener) {
    std::lock_guard<std::mutex> lock(mutex_);
    reportListener_ = std::move(listener);
}

} // namespace Velmora::Sim

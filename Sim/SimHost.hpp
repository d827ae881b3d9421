// The simulated host: the whole host port, deterministic, with a call log and faults.
#pragma once

#include "Host/HostPort.hpp"
#include "Sim/AddOnLifecycle.hpp"
#include "Sim/CallLog.hpp"
#include "Sim/EventLoop.hpp"
#include "Sim/SimCommunication.hpp"
#include "Sim/SimDialogs.hpp"
#include "Sim/SimMenus.hpp"
#include "Sim/SimPreferences.hpp"
#include "Sim/SimProject.hpp"
#include "Sim/SimResources.hpp"
#include "Sim/SimWindow3D.hpp"

#include <functional>
#include <mutex>
#include <string>
#include <vector>

namespace Velmora::Sim {

struct SimReport {
    std::string text;
    bool alert = false;
};

struct SimPalette {
    Host::Int32 referenceID = 0;
    Host::APIPaletteControlCallBackProc* callBack = nullptr;
    Host::GSFlags controlFlags = 0;
    Host::API_Guid guid;
};

struct SimHostOptions {
    std::string hostFolder; // the simulated host's own folder (preferences live there)
    std::string resourceFile = VELMORA_RESOURCE_FILE;
    std::string resourceIdsHeader = VELMORA_RESOURCE_IDS_HEADER;
    Host::API_ModulID addOnId;
    std::string scenePath; // the project to open; empty: the built-in sample building
    SimWindowOptions window;
    // Makes the engine behind the palette's browser item; empty: a headless engine that loads
    // every URL at once and only records scripts.
    BrowserEngineFactory makeBrowserEngine;
    std::uint16_t cefDebugPort = 0; // what DG::GetCefDebugPort answers
};

class SimHost : public Host::Port {
public:
    // Must be constructed on the thread that plays the host's main thread.
    explicit SimHost(SimHostOptions options);

    bool LoadResources(std::string& error);
    // Opens options.scenePath (or the sample building) as the project; false with the
    // loader's message when the scene file is wrong.
    bool LoadScene(std::string& error);

    Host::MenuItemApi& MenuItem() override { return menus_; }
    Host::AddOnAddOnCommunicationApi& AddOnAddOnCommunication() override { return communication_; }
    Host::AddOnIntegrationApi& AddOnIntegration() override { return communication_; }
    Host::SightApi& Sight() override { return project_; }
    Host::ElementApi& Element() override { return project_; }
    Host::ModelAccessApi& ModelAccess() override { return project_; }
    Host::ProjectOperationApi& ProjectOperation() override { return project_; }
    Host::WindowApi& Window() override { return project_; }
    Host::AttributeApi& Attribute() override { return project_; }
    Host::ViewApi& View() override { return window3D_; }
    Host::DatabaseApi& Database() override { return window3D_; }
    Host::RenderingApi& Rendering() override { return window3D_; }
    Host::ProjectSettingsApi& ProjectSettings() override { return window3D_; }
    Host::UserInputApi& UserInput() override { return window3D_; }
    Host::DialogApi& Dialog() override { return dialogs_; }

    void WriteReport(const std::string& text, bool withDial) override;
    Host::GSErrCode GetPreferences(Host::Int32* version, Host::GSSize* nByte, void* data) override;
    Host::GSErrCode SetPreferences(Host::Int32 version, Host::GSSize nByte,
                                   const void* data) override;
    void KeepInMemory(bool keepIn) override;
    void GetReleaseNumber(Host::API_ServerApplicationInfo* serverApplicationInfo) override;
    Host::GSErrCode RegisterModelessWindow(Host::Int32 referenceID,
                                           Host::APIPaletteControlCallBackProc* callBackProc,
                                           Host::GSFlags controlFlags,
                                           const Host::API_Guid& paletteGuid) override;
    Host::GSResModule GetOwnResModule() override;
    bool RSGetIndString(std::string* result, Host::Int32 resID, Host::Int32 index,
                        Host::GSResModule resModule) override;

    // What the simulation offers its driver (velmora-sim, tests).
    CallLog& Calls() { return calls_; }
    EventLoop& Loop() { return loop_; }
    // Whether the add-on is loaded, and the rule that unloads it between calls.
    AddOnLifecycle& AddOn() { return addOn_; }
    SimMenus& Menus() { return menus_; }
    SimProject& Project() { return project_; }
    SimWindow3D& Window3D() { return window3D_; }
    SimDialogs& Dialogs() { return dialogs_; }
    SimProjectEvents& ProjectEvents() { return project_.Events(); }
    // Calls every registered palette's control callback, as the host does (message 7's param
    // points to a bool). BadId when no palette is registered.
    Host::GSErrCode SendPaletteMessage(Host::API_PaletteMessageID message, std::intptr_t param = 0);
    // The palette window registered under the add-on's palette guid, if it is open.
    SimPaletteWindow* RegisteredPaletteWindow() const;
    std::vector<SimReport> Reports() const;
    // Called on the main thread for every report as it is written.
    void OnReport(std::function<void(SimReport const&)> listener);

private:
    static constexpr Host::GSResModule kOwnResModule = 0x5600;

    bool KeepsAddOnLoaded();
    void ForgetAddOnHandlers();

    SimHostOptions options_;
    CallLog calls_;
    EventLoop loop_;
    AddOnLifecycle addOn_;
    SimResources resources_;
    SimMenus menus_;
    SimCommunication communication_;
    SimPreferences preferences_;
    SimProject project_;
    SimWindow3D window3D_;
    SimDialogs dialogs_;

    mutable std::mutex mutex_;
    std::vector<SimReport> reports_;
    std::vector<SimPalette> palettes_;
    std::function<void(SimReport const&)> reportListener_;
};

} // namespace Velmora::Sim

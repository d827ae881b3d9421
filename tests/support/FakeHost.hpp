// A scriptable host for unit tests: every port call is a GoogleMock method whose default
// behaviour is a plausible host (menus keep their flags, preferences stay in memory, event
// loop calls queue up until the test runs the loop). Tests override calls with ON_CALL /
// EXPECT_CALL and inspect what the host saw.
#pragma once

#include "Host/HostPort.hpp"
#include "support/FakeDialog.hpp"

#include <gmock/gmock.h>

#include <map>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace Velmora::Testing {

class MockMenuItem : public Host::MenuItemApi {
public:
    MOCK_METHOD(Host::GSErrCode, RegisterMenu, (short, short, Host::APIMenuCodeID, Host::GSFlags),
                (override));
    MOCK_METHOD(Host::GSErrCode, InstallMenuHandler, (short, Host::APIMenuCommandProc*),
                (override));
    MOCK_METHOD(Host::GSErrCode, GetMenuItemFlags, (const Host::API_MenuItemRef*, Host::GSFlags*),
                (override));
    MOCK_METHOD(Host::GSErrCode, SetMenuItemFlags, (const Host::API_MenuItemRef*, Host::GSFlags*),
                (override));
};

class MockAddOnAddOnCommunication : public Host::AddOnAddOnCommunicationApi {
public:
    MOCK_METHOD(Host::GSErrCode, RegisterSupportedService, (Host::GSType, Host::Int32), (override));
    MOCK_METHOD(Host::GSErrCode, CallFromEventLoop,
                (const Host::API_ModulID*, Host::GSType, Host::Int32, Host::GSHandle, bool,
                 Host::APICommandCallBackProc*),
                (override));
};

class MockAddOnIntegration : public Host::AddOnIntegrationApi {
public:
    MOCK_METHOD(Host::GSErrCode, InstallModulCommandHandler,
                (Host::GSType, Host::Int32, Host::APIModulCommandProc*), (override));
};

class MockSight : public Host::SightApi {
public:
    MOCK_METHOD(Host::GSErrCode, CreateSight, (void**), (override));
    MOCK_METHOD(Host::GSErrCode, SelectSight, (void*, void**), (override));
    MOCK_METHOD(Host::GSErrCode, DeleteSight, (void*), (override));
    MOCK_METHOD(Host::GSErrCode, GetSelectedSightModel, (Host::ModelerAPI::Model&), (override));
};

class MockElement : public Host::ElementApi {
public:
    MOCK_METHOD(Host::GSErrCode, GetElemList,
                (const Host::API_ElemType&, std::vector<Host::API_Guid>*,
                 Host::API_ElemFilterFlags),
                (override));
};

class MockModelAccess : public Host::ModelAccessApi {
public:
    MOCK_METHOD(Host::GSErrCode, GenerateModelWithSeparateComponents,
                (const std::vector<Host::API_Guid>&), (override));
};

class MockProjectOperation : public Host::ProjectOperationApi {
public:
    MOCK_METHOD(Host::GSErrCode, Project, (Host::API_ProjectInfo*), (override));
    MOCK_METHOD(Host::GSErrCode, Save,
                (const Host::API_FileSavePars*, const Host::API_SavePars_Picture*), (override));
    MOCK_METHOD(Host::GSErrCode, CatchProjectEvent,
                (Host::GSFlags, Host::APIProjectEventHandlerProc*), (override));
};

class MockView : public Host::ViewApi {
public:
    MOCK_METHOD(Host::GSErrCode, ShowAllIn3D, (), (override));
    MOCK_METHOD(Host::GSErrCode, Redraw, (), (override));
    MOCK_METHOD(Host::GSErrCode, Get3DWindowSets, (Host::API_3DWindowInfo*), (override));
    MOCK_METHOD(Host::GSErrCode, Change3DWindowSets, (Host::API_3DWindowInfo*), (override));
    MOCK_METHOD(Host::GSErrCode, Get3DProjectionSets, (Host::API_3DProjectionInfo*), (override));
    MOCK_METHOD(Host::GSErrCode, Get3DStyle, (Host::API_3DStyle*), (override));
    MOCK_METHOD(Host::GSErrCode, Change3DStyle, (Host::API_3DStyle*), (override));
};

class MockDatabase : public Host::DatabaseApi {
public:
    MOCK_METHOD(Host::GSErrCode, RebuildCurrentDatabase, (), (override));
};

class MockRendering : public Host::RenderingApi {
public:
    MOCK_METHOD(Host::GSErrCode, GetRenderingSets, (Host::API_RendImage*, Host::API_RendSetTypeID),
                (override));
};

class MockProjectSettings : public Host::ProjectSettingsApi {
public:
    MOCK_METHOD(Host::GSErrCode, GetSpecFolder, (Host::API_SpecFolderID*, std::string*),
                (override));
};

class MockUserInput : public Host::UserInputApi {
public:
    MOCK_METHOD(void, SetElementHighlight,
                (const Host::ElementColorTable&, const std::optional<bool>&,
                 const std::optional<Host::API_RGBAColor>&),
                (override));
    MOCK_METHOD(void, ClearElementHighlight, (), (override));
};

class MockWindow : public Host::WindowApi {
public:
    MOCK_METHOD(Host::GSErrCode, GetCurrentWindow, (Host::API_WindowInfo*), (override));
};

class MockAttribute : public Host::AttributeApi {
public:
    MOCK_METHOD(Host::GSErrCode, Search, (Host::API_Attr_Head*), (override));
    MOCK_METHOD(Host::GSErrCode, Get, (Host::API_Attribute*), (override));
};

struct Report {
    std::string text;
    bool alert = false;
};

class FakeHost : public Host::Port {
public:
    FakeHost();

    Host::MenuItemApi& MenuItem() override { return menuItem; }
    Host::AddOnAddOnCommunicationApi& AddOnAddOnCommunication() override { return communication; }
    Host::AddOnIntegrationApi& AddOnIntegration() override { return integration; }
    Host::SightApi& Sight() override { return sight; }
    Host::ElementApi& Element() override { return element; }
    Host::ModelAccessApi& ModelAccess() override { return modelAccess; }
    Host::ProjectOperationApi& ProjectOperation() override { return projectOperation; }
    Host::WindowApi& Window() override { return window; }
    Host::AttributeApi& Attribute() override { return attribute; }
    Host::ViewApi& View() override { return view; }
    Host::DatabaseApi& Database() override { return database; }
    Host::RenderingApi& Rendering() override { return rendering; }
    Host::ProjectSettingsApi& ProjectSettings() override { return projectSettings; }
    Host::UserInputApi& UserInput() override { return userInput; }
    Host::DialogApi& Dialog() override { return dialog; }

    MOCK_METHOD(void, WriteReport, (const std::string&, bool), (override));
    MOCK_METHOD(Host::GSErrCode, GetPreferences, (Host::Int32*, Host::GSSize*, void*), (override));
    MOCK_METHOD(Host::GSErrCode, SetPreferences, (Host::Int32, Host::GSSize, const void*),
                (override));
    MOCK_METHOD(void, KeepInMemory, (bool), (override));
    MOCK_METHOD(void, GetReleaseNumber, (Host::API_ServerApplicationInfo*), (override));
    MOCK_METHOD(Host::GSErrCode, RegisterModelessWindow,
                (Host::Int32, Host::APIPaletteControlCallBackProc*, Host::GSFlags,
                 const Host::API_Guid&),
                (override));
    MOCK_METHOD(Host::GSResModule, GetOwnResModule, (), (override));
    MOCK_METHOD(bool, RSGetIndString, (std::string*, Host::Int32, Host::Int32, Host::GSResModule),
                (override));

    // What the default behaviours recorded.
    std::vector<Report> Reports() const;
    Host::GSFlags MenuFlags(short menu, Host::Int32 item) const;
    Host::APIMenuCommandProc* MenuHandler(short menu) const;
    // The project-event handler and the events it catches, as the last call left them.
    Host::APIProjectEventHandlerProc* ProjectEventHandler() const;
    Host::GSFlags ProjectEventTypes() const;
    // Sends an event as the host does: only to a handler that catches it.
    Host::GSErrCode SendProjectEvent(Host::API_NotifyEventID event);
    // The palette control callback the add-on registered, called like the host does.
    Host::GSErrCode SendPaletteMessage(Host::API_PaletteMessageID message, std::intptr_t param = 0);

    // Runs the add-on's own command once per pending event-loop call, like the host's loop.
    void RunEventLoop();

    testing::NiceMock<MockMenuItem> menuItem;
    testing::NiceMock<MockAddOnAddOnCommunication> communication;
    testing::NiceMock<MockAddOnIntegration> integration;
    testing::NiceMock<MockSight> sight;
    testing::NiceMock<MockElement> element;
    testing::NiceMock<MockModelAccess> modelAccess;
    testing::NiceMock<MockProjectOperation> projectOperation;
    testing::NiceMock<MockWindow> window;
    testing::NiceMock<MockAttribute> attribute;
    testing::NiceMock<MockView> view;
    testing::NiceMock<MockDatabase> database;
    testing::NiceMock<MockRendering> rendering;
    testing::NiceMock<MockProjectSettings> projectSettings;
    testing::NiceMock<MockUserInput> userInput;
    testing::NiceMock<FakeDialog> dialog;

    std::string preferences; // the stored blob
    Host::Int32 preferencesVersion = 0;
    std::map<std::pair<Host::Int32, Host::Int32>, std::string> resourceStrings;
    // The add-on's menus and how many items each has, as its resource file gives them; the
    // flags of any other menu or item are not the caller's.
    std::map<short, Host::Int32> menuItemCounts;

private:
    void InstallDefaults();
    void InstallMenuDefaults();
    bool IsOwnMenuItem(const Host::API_MenuItemRef& ref) const;
    void InstallCommunicationDefaults();
    void InstallModelDefaults();
    void InstallViewDefaults();
    void InstallPaletteDefaults();

    mutable std::mutex mutex_;
    std::vector<Report> reports_;
    std::map<std::pair<short, Host::Int32>, Host::GSFlags> menuFlags_;
    std::map<short, Host::APIMenuCommandProc*> menuHandlers_;
    Host::APIModulCommandProc* commandHandler_ = nullptr;
    Host::APIProjectEventHandlerProc* projectEventHandler_ = nullptr;
    Host::GSFlags projectEventTypes_ = 0;
    std::vector<std::pair<Host::Int32, Host::APIPaletteControlCallBackProc*>> palettes_;
    int pendingCalls_ = 0;
};

// Installs a FakeHost as the process's host port for the lifetime of a test.
class HostTest : public testing::Test {
protected:
    HostTest() { Host::Install(&host); }
    ~HostTest() override { Host::Install(nullptr); }

    testing::NiceMock<FakeHost> host;
};

} // namespace Velmora::Testing

#include "support/FakeHost.hpp"

#include "ResourceIds.hpp"

#include <cstring>

namespace Velmora::Testing {

using testing::_;
using testing::Invoke;
using testing::Return;

FakeHost::FakeHost() {
    InstallDefaults();
}

void FakeHost::InstallDefaults() {
    InstallMenuDefaults();
    InstallCommunicationDefaults();
    InstallModelDefaults();
    InstallViewDefaults();

    ON_CALL(*this, WriteReport(_, _))
        .WillByDefault(Invoke([this](const std::string& text, bool alert) {
            std::lock_guard<std::mutex> lock(mutex_);
            reports_.push_back({text, alert});
        }));
    ON_CALL(*this, GetPreferences(_, _, _))
        .WillByDefault(Invoke([this](Host::Int32* version, Host::GSSize* size, void* data) {
            if (version == nullptr || size == nullptr)
                return Host::Error::BadPars;
            *version = preferencesVersion;
            if (data != nullptr)
                std::memcpy(data, preferences.data(),
                            std::min<std::size_t>(preferences.size(), std::size_t(*size)));
            *size = static_cast<Host::GSSize>(preferences.size());
            return Host::Error::NoError;
        }));
    ON_CALL(*this, SetPreferences(_, _, _))
        .WillByDefault(Invoke([this](Host::Int32 version, Host::GSSize size, const void* data) {
            preferencesVersion = version;
            preferences.assign(static_cast<char const*>(data), std::size_t(size));
            return Host::Error::NoError;
        }));
    InstallPaletteDefaults();
    ON_CALL(*this, GetOwnResModule()).WillByDefault(Return(Host::GSResModule(1)));
    ON_CALL(*this, RSGetIndString(_, _, _, _))
        .WillByDefault(Invoke(
            [this](std::string* result, Host::Int32 resID, Host::Int32 index, Host::GSResModule) {
                auto found = resourceStrings.find({resID, index});
                if (result == nullptr || found == resourceStrings.end())
                    return false;
                *result = found->second;
                return true;
            }));
}

bool FakeHost::IsOwnMenuItem(const Host::API_MenuItemRef& ref) const {
    auto found = menuItemCounts.find(ref.menuResID);
    return found != menuItemCounts.end() && ref.itemIndex >= 1 && ref.itemIndex <= found->second;
}

// Like the host, the flags of a menu item that is not the caller's are refused with BadIndex.
void FakeHost::InstallMenuDefaults() {
    menuItemCounts = {{VELMORA_COMMAND_MENU, 4}, {VELMORA_SETTINGS_MENU, 3}};
    ON_CALL(menuItem, RegisterMenu(_, _, _, _)).WillByDefault(Return(Host::Error::NoError));
    ON_CALL(menuItem, InstallMenuHandler(_, _))
        .WillByDefault(Invoke([this](short menu, Host::APIMenuCommandProc* proc) {
            std::lock_guard<std::mutex> lock(mutex_);
            menuHandlers_[menu] = proc;
            return Host::Error::NoError;
        }));
    // The host's refusals of a flags call: no record, or an item that is not the caller's.
    auto const refusal = [this](const Host::API_MenuItemRef* ref, Host::GSFlags* flags) {
        if (ref == nullptr || flags == nullptr)
            return Host::Error::BadPars;
        return IsOwnMenuItem(*ref) ? Host::Error::NoError : Host::Error::BadIndex;
    };
    ON_CALL(menuItem, GetMenuItemFlags(_, _))
        .WillByDefault(
            Invoke([this, refusal](const Host::API_MenuItemRef* ref, Host::GSFlags* flags) {
                if (Host::GSErrCode err = refusal(ref, flags); err != Host::Error::NoError)
                    return err;
                std::lock_guard<std::mutex> lock(mutex_);
                *flags = menuFlags_[{ref->menuResID, ref->itemIndex}];
                return Host::Error::NoError;
            }));
    ON_CALL(menuItem, SetMenuItemFlags(_, _))
        .WillByDefault(
            Invoke([this, refusal](const Host::API_MenuItemRef* ref, Host::GSFlags* flags) {
                if (Host::GSErrCode err = refusal(ref, flags); err != Host::Error::NoError)
                    return err;
                std::lock_guard<std::mutex> lock(mutex_);
                menuFlags_[{ref->menuResID, ref->itemIndex}] = *flags;
                return Host::Error::NoError;
            }));
}

void FakeHost::InstallCommunicationDefaults() {
    ON_CALL(communication, RegisterSupportedService(_, _))
        .WillByDefault(Return(Host::Error::NoError));
    ON_CALL(communication, CallFromEventLoop(_, _, _, _, _, _))
        .WillByDefault(Invoke([this](const Host::API_ModulID* mdid, Host::GSType, Host::Int32,
                                     Host::GSHandle, bool, Host::APICommandCallBackProc*) {
            if (mdid == nullptr)
                return Host::Error::BadPars;
            std::lock_guard<std::mutex> lock(mutex_);
            ++pendingCalls_;
            return Host::Error::NoError;
        }));
    ON_CALL(integration, InstallModulCommandHandler(_, _, _))
        .WillByDefault(Invoke([this](Host::GSType, Host::Int32, Host::APIModulCommandProc* proc) {
            std::lock_guard<std::mutex> lock(mutex_);
            commandHandler_ = proc;
            return Host::Error::NoError;
        }));
}

// A reference id registers once; the project-event handler is replaced by each call.
void FakeHost::InstallPaletteDefaults() {
    ON_CALL(*this, RegisterModelessWindow(_, _, _, _))
        .WillByDefault(
            Invoke([this](Host::Int32 referenceID, Host::APIPaletteControlCallBackProc* callBack,
                          Host::GSFlags, const Host::API_Guid&) {
                std::lock_guard<std::mutex> lock(mutex_);
                for (auto const& registered : palettes_) {
                    if (registered.first == referenceID)
                        return Host::Error::BadId;
                }
                palettes_.emplace_back(referenceID, callBack);
                return Host::Error::NoError;
            }));
    ON_CALL(projectOperation, CatchProjectEvent(_, _))
        .WillByDefault(Invoke([this](Host::GSFlags types, Host::APIProjectEventHandlerProc* proc) {
            std::lock_guard<std::mutex> lock(mutex_);
            projectEventHandler_ = proc;
            projectEventTypes_ = proc != nullptr ? types : 0;
            return Host::Error::NoError;
        }));
}

// With no project scripted, the model calls refuse as the host does without a model; tests
// that need a model script these calls.
void FakeHost::InstallModelDefaults() {
    ON_CALL(sight, CreateSight(_)).WillByDefault(Return(Host::Error::General));
    ON_CALL(sight, SelectSight(_, _)).WillByDefault(Return(Host::Error::BadPars));
    ON_CALL(sight, DeleteSight(_)).WillByDefault(Return(Host::Error::BadPars));
    ON_CALL(sight, GetSelectedSightModel(_)).WillByDefault(Return(Host::Error::RefusedCmd));
    ON_CALL(element, GetElemList(_, _, _)).WillByDefault(Return(Host::Error::BadPars));
    ON_CALL(modelAccess, GenerateModelWithSeparateComponents(_))
        .WillByDefault(Return(Host::Error::General));
    ON_CALL(projectOperation, Project(_)).WillByDefault(Return(Host::Error::NoPlan));
    ON_CALL(window, GetCurrentWindow(_)).WillByDefault(Return(Host::Error::BadWindow));
    ON_CALL(attribute, Search(_)).WillByDefault(Return(Host::Error::BadName));
    ON_CALL(attribute, Get(_)).WillByDefault(Return(Host::Error::BadIndex));
    ON_CALL(*this, GetReleaseNumber(_))
        .WillByDefault(Invoke([](Host::API_ServerApplicationInfo* info) {
            if (info != nullptr)
                info->mainVersion = 28;
        }));
}

// No 3D window is open until a test scripts one.
void FakeHost::InstallViewDefaults() {
    ON_CALL(view, ShowAllIn3D()).WillByDefault(Return(Host::Error::BadWindow));
    ON_CALL(view, Redraw()).WillByDefault(Return(Host::Error::NoPlan));
    ON_CALL(view, Get3DWindowSets(_)).WillByDefault(Return(Host::Error::BadWindow));
    ON_CALL(view, Change3DWindowSets(_)).WillByDefault(Return(Host::Error::BadWindow));
    ON_CALL(view, Get3DProjectionSets(_)).WillByDefault(Return(Host::Error::BadWindow));
    ON_CALL(view, Get3DStyle(_)).WillByDefault(Return(Host::Error::BadName));
    ON_CALL(view, Change3DStyle(_)).WillByDefault(Return(Host::Error::BadName));
    ON_CALL(database, RebuildCurrentDatabase()).WillByDefault(Return(Host::Error::NoPlan));
    ON_CALL(rendering, GetRenderingSets(_, _)).WillByDefault(Return(Host::Error::BadPars));
    ON_CALL(projectSettings, GetSpecFolder(_, _)).WillByDefault(Return(Host::Error::RefusedPar));
    ON_CALL(projectOperation, Save(_, _)).WillByDefault(Return(Host::Error::RefusedCmd));
}

std::vector<Report> FakeHost::Reports() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return reports_;
}

Host::GSFlags FakeHost::MenuFlags(short menu, Host::Int32 item) const {
    std::lock_guard<std::mutex> lock(mutex_);
    auto found = menuFlags_.find({menu, item});
    return found == menuFlags_.end() ? 0 : found->second;
}

Host::APIMenuCommandProc* FakeHost::MenuHandler(short menu) const {
    std::lock_guard<std::mutex> lock(mutex_);
    auto found = menuHandlers_.find(menu);
    return found == menuHandlers_.end() ? nullptr : found->second;
}

Host::APIProjectEventHandlerProc* FakeHost::ProjectEventHandler() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return projectEventHandler_;
}

Host::GSFlags FakeHost::ProjectEventTypes() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return projectEventTypes_;
}

Host::GSErrCode FakeHost::SendProjectEvent(Host::API_NotifyEventID event) {
    Host::APIProjectEventHandlerProc* handler = nullptr;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        if ((projectEventTypes_ & Host::GSFlags(event)) != 0)
            handler = projectEventHandler_;
    }
    return handler != nullptr ? handler(event, 0) : Host::Error::NoError;
}

Host::GSErrCode FakeHost::SendPaletteMessage(Host::API_PaletteMessageID message,
                                             std::intptr_t param) {
    std::vector<std::pair<Host::Int32, Host::APIPaletteControlCallBackProc*>> palettes;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        palettes = palettes_;
    }
    Host::GSErrCode result = Host::Error::BadId;
    for (auto const& [referenceID, callBack] : palettes)
        result = callBack(referenceID, message, param);
    return result;
}

void FakeHost::RunEventLoop() {
    Host::APIModulCommandProc* handler = nullptr;
    int calls = 0;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        handler = commandHandler_;
        calls = pendingCalls_;
        pendingCalls_ = 0;
    }
    for (int i = 0; handler != nullptr && i < calls; ++i)
        handler(nullptr, nullptr, true);
}

} // namespace Velmora::Testing

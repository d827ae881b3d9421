// Menus the add-on registered, their item flags and the handlers behind them.
#pragma once

#include "Host/HostPort.hpp"
#include "Sim/AddOnLifecycle.hpp"
#include "Sim/CallLog.hpp"
#include "Sim/SimResources.hpp"

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace Velmora::Sim {

struct SimMenuItem {
    std::string text;
    Host::GSFlags flags = 0;
    std::string controlCodes; // "^E3^M": which windows enable it, and its initial flags
};

struct SimMenu {
    std::string title;
    std::vector<SimMenuItem> items; // item n is items[n - 1]
    Host::APIMenuCommandProc* handler = nullptr;
};

class SimMenus : public Host::MenuItemApi {
public:
    SimMenus(CallLog& calls, SimResources const& resources, AddOnLifecycle& addOn);

    // Which window is in front, for the items' window-dependent enabling.
    void SetFrontWindow(std::function<Host::API_WindowTypeID()> frontWindow) {
        frontWindow_ = std::move(frontWindow);
    }
    // The handlers go with an unloaded add-on's code; the menus stay registered.
    void ForgetHandlers();

    Host::GSErrCode RegisterMenu(short menuStrResID, short promptStrResID,
                                 Host::APIMenuCodeID menuPosCode, Host::GSFlags menuFlags) override;
    Host::GSErrCode InstallMenuHandler(short menuStrResID,
                                       Host::APIMenuCommandProc* handlerProc) override;
    Host::GSErrCode GetMenuItemFlags(const Host::API_MenuItemRef* menuItemRef,
                                     Host::GSFlags* itemFlags) override;
    Host::GSErrCode SetMenuItemFlags(const Host::API_MenuItemRef* menuItemRef,
                                     Host::GSFlags* itemFlags) override;

    // What the user sees and does.
    std::map<short, SimMenu> const& Menus() const { return menus_; }
    // Why the item is greyed out now (disabled, or not enabled above the window in front);
    // nullopt when it is enabled or does not exist.
    std::optional<std::string> GreyedReason(short menu, Host::Int32 item) const;
    // Runs the item's handler as the host does when the user chooses it (loading the add-on
    // first if it was unloaded); nullopt and a reason when there is no such item, it is greyed
    // out, or no handler is installed.
    std::optional<Host::GSErrCode> Choose(short menu, Host::Int32 item, std::string& whyNot);

private:
    SimMenuItem* Find(const Host::API_MenuItemRef* ref);
    SimMenuItem const* Find(short menu, Host::Int32 item) const;
    Host::GSErrCode AccessFlags(char const* call, const Host::API_MenuItemRef* menuItemRef,
                                Host::GSFlags* itemFlags, bool write);

    CallLog& calls_;
    SimResources const& resources_;
    AddOnLifecycle& addOn_;
    std::function<Host::API_WindowTypeID()> frontWindow_;
    std::map<short, SimMenu> menus_;
};

} // namespace Velmora::Sim

// Menus the add-on registered, their item flags and the handlers behind them.
#pragma once

#include "Host/HostPort.hpp"
#include "Sim/CallLog.hpp"
#include "Sim/SimResources.hpp"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace Velmora::Sim {

struct SimMenuItem {
    std::string text;
    Host::GSFlags flags = 0;
};

struct SimMenu {
    std::string title;
    std::vector<SimMenuItem> items; // item n is items[n - 1]
    Host::APIMenuCommandProc* handler = nullptr;
};

class SimMenus : public Host::MenuItemApi {
public:
    SimMenus(CallLog& calls, SimResources const& resources);

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
    // Runs the item's handler as the host does when the user chooses it; nullopt and a
    // reason when there is no such item or no handler.
    std::optional<Host::GSErrCode> Choose(short menu, Host::Int32 item, std::string& whyNot);

private:
    SimMenuItem* Find(const Host::API_MenuItemRef* ref);
    Host::GSErrCode AccessFlags(char const* call, const Host::API_MenuItemRef* menuItemRef,
                                Host::GSFlags* itemFlags, bool write);

    CallLog& calls_;
    SimResources const& resources_;
    std::map<short, SimMenu> menus_;
};

} // namespace Velmora::Sim

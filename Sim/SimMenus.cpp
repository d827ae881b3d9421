#include "Sim/SimMenus.hpp"

namespace Velmora::Sim {

namespace {

// Initial item flags from the resource's control codes: ^M checked, ^G disabled.
Host::GSFlags InitialFlags(std::string const& text) {
    Host::GSFlags flags = 0;
    if (text.find("^M") != std::string::npos)
        flags |= Host::MenuItemFlag::Checked;
    if (text.find("^G") != std::string::npos)
        flags |= Host::MenuItemFlag::Disabled;
    return flags;
}

} // namespace

SimMenus::SimMenus(CallLog& calls, SimResources const& resources)
    : calls_(calls), resources_(resources) {}

Host::GSErrCode SimMenus::RegisterMenu(short menuStrResID, short /*promptStrResID*/,
                                       Host::APIMenuCodeID /*menuPosCode*/,
                                       Host::GSFlags /*menuFlags*/) {
    if (auto err = calls_.Enter("ACAPI_MenuItem_RegisterMenu"))
        return *err;
    std::vector<std::string> const* lines = resources_.StringList(menuStrResID);
    if (lines == nullptr || lines->size() < 2 || menus_.count(menuStrResID) != 0)
        return Host::Error::BadId;
    SimMenu menu;
    menu.title = StripMenuControlCodes(lines->front()); // a user-defined menu's title line
    for (std::size_t i = 1; i < lines->size(); ++i)
        menu.items.push_back({StripMenuControlCodes((*lines)[i]), InitialFlags((*lines)[i])});
    menus_[menuStrResID] = std::move(menu);
    return Host::Error::NoError;
}

Host::GSErrCode SimMenus::InstallMenuHandler(short menuStrResID,
                                             Host::APIMenuCommandProc* handlerProc) {
    if (auto err = calls_.Enter("ACAPI_MenuItem_InstallMenuHandler"))
        return *err;
    auto found = menus_.find(menuStrResID);
    if (found == menus_.end() || handlerProc == nullptr)
        return Host::Error::BadId;
    found->second.handler = handlerProc;
    return Host::Error::NoError;
}

SimMenuItem* SimMenus::Find(const Host::API_MenuItemRef* ref) {
    auto found = menus_.find(ref->menuResID);
    if (found == menus_.end() || ref->itemIndex < 1 ||
        ref->itemIndex > static_cast<Host::Int32>(found->second.items.size()))
        return nullptr;
    return &found->second.items[static_cast<std::size_t>(ref->itemIndex - 1)];
}

Host::GSErrCode SimMenus::AccessFlags(char const* call, const Host::API_MenuItemRef* menuItemRef,
                                      Host::GSFlags* itemFlags, bool write) {
    if (auto err = calls_.Enter(call))
        return *err;
    if (menuItemRef == nullptr || itemFlags == nullptr)
        return Host::Error::BadPars;
    SimMenuItem* item = Find(menuItemRef);
    if (item == nullptr)
        return Host::Error::BadIndex;
    if (write)
        item->flags = *itemFlags;
    else
        *itemFlags = item->flags;
    return Host::Error::NoError;
}

Host::GSErrCode SimMenus::GetMenuItemFlags(const Host::API_MenuItemRef* menuItemRef,
                                           Host::GSFlags* itemFlags) {
    return AccessFlags("ACAPI_MenuItem_GetMenuItemFlags", menuItemRef, itemFlags, false);
}

Host::GSErrCode SimMenus::SetMenuItemFlags(const Host::API_MenuItemRef* menuItemRef,
                                           Host::GSFlags* itemFlags) {
    return AccessFlags("ACAPI_MenuItem_SetMenuItemFlags", menuItemRef, itemFlags, true);
}

std::optional<Host::GSErrCode> SimMenus::Choose(short menu, Host::Int32 item, std::string& whyNot) {
    Host::API_MenuParams params;
    params.menuItemRef.menuResID = menu;
    params.menuItemRef.itemIndex = item;
    auto found = menus_.find(menu);
    if (found == menus_.end() || Find(&params.menuItemRef) == nullptr) {
        whyNot = "there is no menu item " + std::to_string(menu) + ":" + std::to_string(item);
        return std::nullopt;
    }
    if (found->second.handler == nullptr) {
        whyNot = "menu " + std::to_string(menu) + " has no handler installed";
        return std::nullopt;
    }
    return found->second.handler(&params);
}

} // namespace Velmora::Sim

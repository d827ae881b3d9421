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

struct WindowKind {
    Host::API_WindowTypeID window;
    char const* enablingCode; // nullptr: the floor plan, enabled unless ^D2
    char const* name;
};

// An item is enabled above the floor plan unless it says ^D2, and above another window only
// when it names that window's code.
constexpr WindowKind kWindowKinds[] = {
    {Host::APIWind_FloorPlanID, nullptr, "the floor plan"},
    {Host::APIWind_3DModelID, "^E3", "the 3D window"},
    {Host::APIWind_SectionID, "^ES", "a section"},
    {Host::APIWind_ElevationID, "^EE", "an elevation"},
    {Host::APIWind_DetailID, "^ED", "a detail"},
    {Host::APIWind_LayoutID, "^EL", "a layout"},
};

WindowKind const* KindOf(Host::API_WindowTypeID window) {
    for (WindowKind const& kind : kWindowKinds) {
        if (kind.window == window)
            return &kind;
    }
    return nullptr;
}

bool EnabledAbove(std::string const& codes, WindowKind const* kind) {
    if (kind == nullptr)
        return false; // no window, or one no item can name
    if (kind->enablingCode == nullptr)
        return codes.find("^D2") == std::string::npos;
    return codes.find(kind->enablingCode) != std::string::npos;
}

std::string ControlCodes(std::string const& text) {
    std::size_t const at = text.find('^');
    return at == std::string::npos ? std::string() : text.substr(at);
}

} // namespace

SimMenus::SimMenus(CallLog& calls, SimResources const& resources, AddOnLifecycle& addOn)
    : calls_(calls), resources_(resources), addOn_(addOn) {}

void SimMenus::ForgetHandlers() {
    for (auto& entry : menus_)
        entry.second.handler = nullptr;
}

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
        menu.items.push_back({StripMenuControlCodes((*lines)[i]), InitialFlags((*lines)[i]),
                              ControlCodes((*lines)[i])});
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

SimMenuItem const* SimMenus::Find(short menu, Host::Int32 item) const {
    auto found = menus_.find(menu);
    if (found == menus_.end() || item < 1 ||
        item > static_cast<Host::Int32>(found->second.items.size()))
        return nullptr;
    return &found->second.items[static_cast<std::size_t>(item - 1)];
}

std::optional<std::string> SimMenus::GreyedReason(short menu, Host::Int32 item) const {
    SimMenuItem const* found = Find(menu, item);
    if (found == nullptr)
        return std::nullopt;
    std::string const name = "menu item " + std::to_string(menu) + ":" + std::to_string(item);
    if ((found->flags & Host::MenuItemFlag::Disabled) != 0)
        return name + " is disabled";
    Host::API_WindowTypeID const front = frontWindow_ ? frontWindow_() : Host::API_ZombieWindowID;
    WindowKind const* kind = KindOf(front);
    if (EnabledAbove(found->controlCodes, kind))
        return std::nullopt;
    return name + " is greyed out above " + (kind != nullptr ? kind->name : "this window");
}

std::optional<Host::GSErrCode> SimMenus::Choose(short menu, Host::Int32 item, std::string& whyNot) {
    if (Find(menu, item) == nullptr) {
        whyNot = "there is no menu item " + std::to_string(menu) + ":" + std::to_string(item);
        return std::nullopt;
    }
    if (std::optional<std::string> greyed = GreyedReason(menu, item)) {
        whyNot = *greyed;
        return std::nullopt;
    }
    AddOnLifecycle::Call call(addOn_);
    Host::APIMenuCommandProc* handler = menus_.at(menu).handler;
    if (!call.Ready() || handler == nullptr) {
        whyNot = "menu " + std::to_string(menu) + " has no handler installed";
        return std::nullopt;
    }
    Host::API_MenuParams params;
    params.menuItemRef.menuResID = menu;
    params.menuItemRef.itemIndex = item;
    return handler(&params);
}

} // namespace Velmora::Sim

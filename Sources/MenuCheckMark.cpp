#include "MenuCheckMark.hpp"

#include "Host/HostPort.hpp"
#include "Logger.hpp"

#include <exception>
#include <string>

namespace Velmora {

namespace {

Host::GSErrCode WriteCheckMark(short menuResId, Host::Int32 item, bool checked) {
    Host::API_MenuItemRef ref;
    ref.menuResID = menuResId;
    ref.itemIndex = item;
    Host::GSFlags flags = 0;
    if (Host::GSErrCode err = Host::Get().MenuItem().GetMenuItemFlags(&ref, &flags);
        err != Host::Error::NoError)
        return err;
    flags &= ~Host::MenuItemFlag::Checked;
    if (checked)
        flags |= Host::MenuItemFlag::Checked;
    return Host::Get().MenuItem().SetMenuItemFlags(&ref, &flags);
}

} // namespace

Host::GSErrCode SetMenuItemChecked(short menuResId, Host::Int32 item, bool checked) {
    try {
        return WriteCheckMark(menuResId, item, checked);
    } catch (std::exception const& error) {
        Logger::Get().Log(LogLevel::Warn, "Velmora: check mark of menu item " +
                                              std::to_string(menuResId) + ":" +
                                              std::to_string(item) + " not set: " + error.what());
    } catch (...) {
        Logger::Get().Log(LogLevel::Warn, "Velmora: check mark of menu item " +
                                              std::to_string(menuResId) + ":" +
                                              std::to_string(item) + " not set");
    }
    return Host::Error::General;
}

} // namespace Velmora

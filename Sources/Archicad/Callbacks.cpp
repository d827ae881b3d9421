#include "Callbacks.hpp"

#include "CallbackSlots.hpp"

#include <cstdint>

namespace Velmora::Archicad::Callbacks {

namespace {

struct MenuKind {
    using HostProc = ::APIMenuCommandProc;
    using PortProc = Host::APIMenuCommandProc;
    using Key = short;
    static constexpr std::size_t kSlots = 8;
    inline static SlotTable<Key, PortProc, kSlots> table;

    static GSErrCode Forward(PortProc* handler, const ::API_MenuParams* params) {
        if (handler == nullptr)
            return APIERR_GENERAL;
        if (params == nullptr)
            return handler(nullptr);
        Host::API_MenuParams portParams;
        portParams.menuItemRef.menuResID = params->menuItemRef.menuResID;
        portParams.menuItemRef.itemIndex = params->menuItemRef.itemIndex;
        return handler(&portParams);
    }
};

struct ModulCommandKind {
    using HostProc = ::APIModulCommandProc;
    using PortProc = Host::APIModulCommandProc;
    using Key = std::uint64_t; // command id and version
    static constexpr std::size_t kSlots = 4;
    inline static SlotTable<Key, PortProc, kSlots> table;

    static GSErrCode Forward(PortProc* handler, GSHandle params, GSPtr resultData,
                             bool silentMode) {
        return handler == nullptr ? APIERR_GENERAL : handler(params, resultData, silentMode);
    }
};

struct EventLoopCallBackKind {
    using HostProc = ::APICommandCallBackProc;
    using PortProc = Host::APICommandCallBackProc;
    using Key = PortProc*; // the callback itself: calls may come from any thread
    static constexpr std::size_t kSlots = 4;
    inline static SlotTable<Key, PortProc, kSlots> table;

    static void Forward(PortProc* callback, GSHandle* paramsHandle, GSPtr resultData,
                        GSErrCode returnCode) {
        if (callback != nullptr)
            callback(paramsHandle, resultData, returnCode);
    }
};

struct PaletteKind {
    using HostProc = ::APIPaletteControlCallBackProc;
    using PortProc = Host::APIPaletteControlCallBackProc;
    using Key = Int32; // the palette's reference id
    static constexpr std::size_t kSlots = 4;
    inline static SlotTable<Key, PortProc, kSlots> table;

    static GSErrCode Forward(PortProc* handler, Int32 referenceID, ::API_PaletteMessageID messageID,
                             GS::IntPtr param) {
        if (handler == nullptr)
            return APIERR_GENERAL;
        // The port numbers the messages as the host does; param stays the host's (for "is
        // visible" it points at a bool).
        return handler(referenceID, static_cast<Host::API_PaletteMessageID>(messageID),
                       static_cast<std::intptr_t>(param));
    }
};

struct ProjectEventKind {
    using HostProc = ::APIProjectEventHandlerProc;
    using PortProc = Host::APIProjectEventHandlerProc;
    using Key = int; // one handler
    static constexpr std::size_t kSlots = 1;
    inline static SlotTable<Key, PortProc, kSlots> table;

    static GSErrCode Forward(PortProc* handler, ::API_NotifyEventID notifID, Int32 param) {
        // The port numbers the events as the host's bit flags.
        return handler == nullptr ? NoError
                                  : handler(static_cast<Host::API_NotifyEventID>(notifID), param);
    }
};

} // namespace

::APIMenuCommandProc* ForMenu(short menuStrResID, Host::APIMenuCommandProc* handler) {
    return ClaimTrampoline<MenuKind>(menuStrResID, handler);
}

::APIModulCommandProc* ForModulCommand(GSType cmdID, Int32 cmdVersion,
                                       Host::APIModulCommandProc* handler) {
    std::uint64_t const key = (std::uint64_t(cmdID) << 32) | std::uint32_t(cmdVersion);
    return ClaimTrampoline<ModulCommandKind>(key, handler);
}

::APICommandCallBackProc* ForEventLoopCallBack(Host::APICommandCallBackProc* callback) {
    return ClaimTrampoline<EventLoopCallBackKind>(callback, callback);
}

::APIPaletteControlCallBackProc* ForPalette(Int32 referenceID,
                                            Host::APIPaletteControlCallBackProc* handler) {
    return ClaimTrampoline<PaletteKind>(referenceID, handler);
}

::APIProjectEventHandlerProc* ForProjectEvents(Host::APIProjectEventHandlerProc* handler) {
    return ClaimTrampoline<ProjectEventKind>(0, handler);
}

} // namespace Velmora::Archicad::Callbacks

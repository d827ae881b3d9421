// The host calls plain functions; the add-on hands the port plain functions taking port
// records. Each install below claims a slot and returns that slot's trampoline, a function of
// the host's own type that turns the host's records into the port's and calls the add-on.
#pragma once

#include "Host/HostTypes.hpp"

#include "APIEnvir.h"

#include "ACAPinc.h"

namespace Velmora::Archicad::Callbacks {

// Each returns nullptr when every slot of its kind is taken. Installing again with the same
// key replaces the handler behind the same trampoline, as the host replaces its own.
::APIMenuCommandProc* ForMenu(short menuStrResID, Host::APIMenuCommandProc* handler);
::APIModulCommandProc* ForModulCommand(GSType cmdID, Int32 cmdVersion,
                                       Host::APIModulCommandProc* handler);
::APICommandCallBackProc* ForEventLoopCallBack(Host::APICommandCallBackProc* callback);
::APIPaletteControlCallBackProc* ForPalette(Int32 referenceID,
                                            Host::APIPaletteControlCallBackProc* handler);
// The host keeps one project-event handler per add-on.
::APIProjectEventHandlerProc* ForProjectEvents(Host::APIProjectEventHandlerProc* handler);

} // namespace Velmora::Archicad::Callbacks

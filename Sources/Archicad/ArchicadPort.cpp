#include "ArchicadPort.hpp"

#include "Callbacks.hpp"
#include "HostText.hpp"

#include "ACAPinc.h"
#include "RS.hpp"

namespace Velmora::Archicad {

void ArchicadPort::WriteReport(const std::string& text, bool withDial) {
    // The text is an argument, never the format: a "%" in a path or a server message is shown
    // as it is. "%T" takes a Unicode string, so nothing is lost to the system encoding.
    GS::UniString const message = ToUniString(text);
    ACAPI_WriteReport("%T", withDial, message.ToPrintf());
}

Host::GSErrCode ArchicadPort::GetPreferences(Host::Int32* version, Host::GSSize* nByte,
                                             void* data) {
    return ACAPI_GetPreferences(version, nByte, data);
}

Host::GSErrCode ArchicadPort::SetPreferences(Host::Int32 version, Host::GSSize nByte,
                                             const void* data) {
    return ACAPI_SetPreferences(version, nByte, data);
}

void ArchicadPort::KeepInMemory(bool keepIn) {
    ACAPI_KeepInMemory(keepIn);
}

void ArchicadPort::GetReleaseNumber(Host::API_ServerApplicationInfo* serverApplicationInfo) {
    if (serverApplicationInfo == nullptr)
        return;
    ::API_ServerApplicationInfo info{};
    ACAPI_GetReleaseNumber(&info);
    serverApplicationInfo->serverApplication =
        static_cast<Host::API_ApplicationTypeID>(info.serverApplication);
    serverApplicationInfo->mainVersion = info.mainVersion;
    serverApplicationInfo->releaseVersion = info.releaseVersion;
    serverApplicationInfo->runningInBackground = info.runningInBackground;
    serverApplicationInfo->buildNum = info.buildNum;
    serverApplicationInfo->language = ToUtf8(info.language);
}

Host::GSErrCode ArchicadPort::RegisterModelessWindow(
    Host::Int32 referenceID, Host::APIPaletteControlCallBackProc* callBackProc,
    Host::GSFlags controlFlags, const Host::API_Guid& paletteGuid) {
    ::APIPaletteControlCallBackProc* trampoline = nullptr;
    if (callBackProc != nullptr) {
        trampoline = Callbacks::ForPalette(referenceID, callBackProc);
        if (trampoline == nullptr)
            return APIERR_GENERAL;
    }
    return ACAPI_RegisterModelessWindow(referenceID, trampoline, controlFlags,
                                        ToApiGuid(paletteGuid));
}

Host::GSResModule ArchicadPort::GetOwnResModule() {
    return ACAPI_GetOwnResModule();
}

bool(ArchicadPort::RSGetIndString)(std::string* result, Host::Int32 resID, Host::Int32 index,
                                   Host::GSResModule resModule) {
    GS::UniString text;
    bool const found = RSGetIndString(&text, resID, index, resModule);
    if (found && result != nullptr)
        *result = ToUtf8(text);
    return found;
}

ArchicadPort& InstallPort() {
    // Constructed at the first entry point of this load, inside the host's call; it touches
    // nothing of the host until a port method is called.
    static ArchicadPort port;
    Host::Install(&port);
    return port;
}

} // namespace Velmora::Archicad

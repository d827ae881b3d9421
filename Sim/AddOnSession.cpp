#include "Sim/AddOnSession.hpp"

#include "AddOnMain.hpp"
#include "Export/ModelCommands.hpp"
#include "Extract/ExtractCommand.hpp"
#include "MainThreadDispatcher.hpp"

#include <cstdio>

namespace Velmora::Sim {

std::string FormatError(Host::GSErrCode code) {
    char text[16];
    std::snprintf(text, sizeof text, "0x%08X", static_cast<unsigned>(code));
    return text;
}

AddOnSession::AddOnSession(SimHost& host) : host_(host) {
    Host::Install(&host_);
}

AddOnSession::~AddOnSession() {
    Unload();
    Host::Install(nullptr);
}

bool AddOnSession::Load(std::string& error) {
    Host::API_EnvirParams envir;
    Host::API_AddonType const type = CheckEnvironment(&envir);
    name_ = envir.addOnInfo.name;
    if (type != Host::APIAddon_Normal && type != Host::APIAddon_Preload) {
        error = "the add-on declined to load (type " + std::to_string(type) + ")";
        return false;
    }
    if (Host::GSErrCode err = RegisterInterface(); err != Host::Error::NoError) {
        error = "RegisterInterface failed with error " + FormatError(err);
        return false;
    }
    loaded_ = true;
    if (Host::GSErrCode err = Initialize(); err != Host::Error::NoError) {
        error = "Initialize failed with error " + FormatError(err);
        Unload(); // the host always calls FreeData once Initialize was called
        return false;
    }
    return true;
}

void AddOnSession::Unload() {
    if (!loaded_)
        return;
    loaded_ = false;
    // The host quits: handlers of the quit event hear it before the add-on is freed.
    host_.ProjectEvents().Send(Host::APINotify_Quit);
    FreeData();
}

bool AddOnSession::Settle(std::chrono::milliseconds timeout) {
    // The extraction is asked first: it posts its outcome before it stops counting as active.
    // A model export or send holds its in-flight flag until its upload is done.
    auto const settled = [] {
        return !IsExtractActive() && !IsSendModelInProgress() && MainThreadDispatcher::IsIdle();
    };
    return host_.Loop().RunUntilSettled(settled, EventLoop::Clock::now() + timeout);
}

void AddOnSession::RunFor(std::chrono::milliseconds duration) {
    host_.Loop().RunUntil(EventLoop::Clock::now() + duration);
}

} // namespace Velmora::Sim

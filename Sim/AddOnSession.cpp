#include "Sim/AddOnSession.hpp"

#include "AddOnMain.hpp"
#include "BackgroundWork.hpp"
#include "Export/ModelCommands.hpp"
#include "Extract/ExtractCommand.hpp"
#include "MainThreadDispatcher.hpp"
#include "TriggerFilePoller.hpp"

#include <cstdio>

namespace Velmora::Sim {

namespace {

// After FreeData nothing of the add-on may be left: a reloaded add-on starts from fresh
// statics, so a thread, a queued item or a raised flag would outlive the code that owns it.
std::vector<std::string> FreeDataAndCheck() {
    FreeData();
    std::vector<std::string> left;
    if (std::size_t const threads = BackgroundWork::Running(); threads > 0)
        left.push_back(std::to_string(threads) + " background thread(s) still running");
    if (TriggerFilePoller::IsRunning())
        left.push_back("the trigger poller marked running");
    if (!MainThreadDispatcher::IsIdle())
        left.push_back("main-thread work still queued or asleep");
    if (IsExtractActive())
        left.push_back("an extraction marked in flight");
    if (IsSendModelInProgress())
        left.push_back("a model job marked in flight");
    return left;
}

} // namespace

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
    AddOnEntryPoints entryPoints{[] { return Initialize(); }, FreeDataAndCheck};
    if (Host::GSErrCode err = host_.AddOn().Load(std::move(entryPoints));
        err != Host::Error::NoError) {
        error = "Initialize failed with error " + FormatError(err); // FreeData has run
        return false;
    }
    return true;
}

void AddOnSession::Unload() {
    // The host quits: handlers of the quit event hear it before the add-on is freed.
    host_.AddOn().Quit([this] { host_.ProjectEvents().Send(Host::APINotify_Quit); });
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

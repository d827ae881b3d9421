#include "Sim/AddOnLifecycle.hpp"

namespace Velmora::Sim {

AddOnLifecycle::AddOnLifecycle(CallLog& calls) : calls_(calls) {}

Host::GSErrCode AddOnLifecycle::Load(AddOnEntryPoints entryPoints) {
    entryPoints_ = std::move(entryPoints);
    registered_ = true;
    quitting_ = false;
    ++depth_;
    Host::GSErrCode const err = Initialize();
    --depth_;
    if (depth_ == 0)
        EndOfCall();
    return err;
}

bool AddOnLifecycle::EnsureLoaded() {
    if (!registered_ || quitting_)
        return false;
    if (!loaded_)
        Load(entryPoints_);
    return loaded_;
}

void AddOnLifecycle::Quit(std::function<void()> const& beforeFreeData) {
    if (!registered_ || !loaded_)
        return;
    quitting_ = true;
    if (beforeFreeData)
        beforeFreeData();
    FreeData("the host quits");
}

// A call of its own: a keep request made in it lasts until it returns.
Host::GSErrCode AddOnLifecycle::Initialize() {
    calls_.Note("[host] Initialize: the add-on is loaded");
    ++loads_;
    keepRequested_ = false;
    loaded_ = true;
    Host::GSErrCode const err = entryPoints_.initialize();
    if (err != Host::Error::NoError)
        FreeData("Initialize failed"); // the host calls FreeData once Initialize was called
    return err;
}

void AddOnLifecycle::FreeData(char const* why) {
    calls_.Note(std::string("[host] FreeData: the add-on is unloaded (") + why + ")");
    ++unloads_;
    loaded_ = false;
    for (std::string const& left : entryPoints_.freeData()) {
        calls_.Note("[host] FreeData left behind: " + left);
        leftBehind_.push_back(left);
    }
    if (hooks_.forgetHandlers)
        hooks_.forgetHandlers();
}

void AddOnLifecycle::EndOfCall() {
    bool const kept = keepRequested_.exchange(false) || (hooks_.keptByHost && hooks_.keptByHost());
    if (!loaded_ || quitting_ || kept)
        return;
    ++ruleUnloads_;
    FreeData("no KeepInMemory in the last call, no palette open, no notification handler");
}

AddOnLifecycle::Call::Call(AddOnLifecycle& lifecycle) : lifecycle_(lifecycle) {
    ++lifecycle_.depth_;
    if (lifecycle_.registered_ && !lifecycle_.loaded_ && !lifecycle_.quitting_)
        lifecycle_.Initialize();
    ready_ = !lifecycle_.registered_ || lifecycle_.loaded_;
    // The handler's own call begins: a request made by Initialize does not carry over.
    if (lifecycle_.depth_ == 1)
        lifecycle_.keepRequested_ = false;
}

AddOnLifecycle::Call::~Call() {
    if (--lifecycle_.depth_ == 0)
        lifecycle_.EndOfCall();
}

} // namespace Velmora::Sim

// The host's rule for keeping an add-on in memory. After each call into the add-on (a menu
// choice, its own command from the event loop, a palette message, a notification, a browser
// callback; Initialize counts as one), the host unloads an add-on that did not call
// KeepInMemory(true) during that very call, has no palette open and no notification handler
// installed. Unloading is FreeData; the next call that needs the add-on loads it again, with
// Initialize, and its handlers installed anew. Loads and unloads are noted in the call log.
#pragma once

#include "Host/HostTypes.hpp"
#include "Sim/CallLog.hpp"

#include <atomic>
#include <functional>
#include <string>
#include <vector>

namespace Velmora::Sim {

// The add-on's code that the host runs around its handlers.
struct AddOnEntryPoints {
    std::function<Host::GSErrCode()> initialize;
    // FreeData; returns what the add-on left behind (threads, queued work, flags), if anything.
    std::function<std::vector<std::string>()> freeData;
};

// What the host itself knows about the add-on's presence.
struct AddOnHostHooks {
    std::function<bool()> keptByHost;     // an open palette or a notification handler
    std::function<void()> forgetHandlers; // what Initialize installed goes with the code
};

class AddOnLifecycle {
public:
    explicit AddOnLifecycle(CallLog& calls);

    void SetHostHooks(AddOnHostHooks hooks) { hooks_ = std::move(hooks); }

    // The add-on is registered (RegisterInterface ran): its first load, Initialize as a call of
    // its own. The add-on's error code; on failure FreeData has run.
    Host::GSErrCode Load(AddOnEntryPoints entryPoints);
    // The host quits: beforeFreeData (the quit event) while still loaded, then FreeData; no
    // call loads the add-on again.
    void Quit(std::function<void()> const& beforeFreeData);
    // Loads the add-on again if it was unloaded; false when there is no add-on or Initialize
    // failed.
    bool EnsureLoaded();

    // ACAPI_KeepInMemory: applies until the end of the current call into the add-on.
    void KeepInMemory(bool keep) { keepRequested_ = keep; }

    // True when an add-on is registered and not loaded right now.
    bool Unloaded() const { return registered_ && !loaded_; }
    int Loads() const { return loads_; }
    int Unloads() const { return unloads_; }
    // Unloads by the rule, between calls (not the quit, not a failed Initialize).
    int RuleUnloads() const { return ruleUnloads_; }
    // Everything FreeData left behind, each noted once, over the whole session.
    std::vector<std::string> const& LeftBehind() const { return leftBehind_; }

    // One call of the host into the add-on, on the host's main thread, for the lifetime of the
    // object: loads the add-on first when needed, applies the rule when the outermost call ends.
    // Without a registered add-on (the host's parts on their own) it does nothing.
    class Call {
    public:
        explicit Call(AddOnLifecycle& lifecycle);
        ~Call();
        Call(Call const&) = delete;
        Call& operator=(Call const&) = delete;
        // False when the add-on could not be loaded for the call: do not run the handler.
        bool Ready() const { return ready_; }

    private:
        AddOnLifecycle& lifecycle_;
        bool ready_ = true;
    };

private:
    Host::GSErrCode Initialize();
    void FreeData(char const* why);
    void EndOfCall();

    CallLog& calls_;
    AddOnHostHooks hooks_;
    AddOnEntryPoints entryPoints_;
    bool registered_ = false;
    bool loaded_ = false;
    bool quitting_ = false;
    int depth_ = 0;
    std::atomic<bool> keepRequested_{false};
    int loads_ = 0;
    int unloads_ = 0;
    int ruleUnloads_ = 0;
    std::vector<std::string> leftBehind_;
};

} // namespace Velmora::Sim

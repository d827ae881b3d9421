// Where the host calls into the add-on. An exception that left any of these calls would end
// Archicad and lose the user's unsaved work, so each one runs its body through
// GuardHostEntry: whatever the body throws is logged, told to the user when the user started
// the call, and turned into the host's general error (or the call's neutral value).
#pragma once

#include "Host/HostTypes.hpp"

#include <exception>
#include <initializer_list>
#include <utility>

namespace Velmora {

// One kind of call from the host.
struct HostEntry {
    char const* name; // for the log, e.g. "MenuCommandHandler"
    // The user chose something (a menu item, a button in the page): a failure gets one alert.
    // Elsewhere (start-up, host notifications) it is only logged.
    bool userStarted;
    // A handler call: the host unloads the add-on after it unless the call asks to stay.
    bool asksToStay;
};

// The message the user sees when a call they started stopped on an unexpected error.
extern char const* const kUnexpectedErrorMessage;

namespace ve_detail {
void AskToStayLoaded(HostEntry const& entry) noexcept;
void ReportEscapedException(HostEntry const& entry, char const* what) noexcept;
} // namespace ve_detail

// Runs body for one call from the host; returns fallback if it throws. Never throws.
template <typename Result, typename Body>
Result GuardHostEntry(HostEntry const& entry, Result fallback, Body&& body) noexcept {
    ve_detail::AskToStayLoaded(entry);
    try {
        return std::forward<Body>(body)();
    } catch (std::exception const& error) {
        ve_detail::ReportEscapedException(entry, error.what());
    } catch (...) {
        ve_detail::ReportEscapedException(entry, nullptr);
    }
    return fallback;
}

// The same for calls that return nothing.
template <typename Body>
void GuardHostEntry(HostEntry const& entry, Body&& body) noexcept {
    GuardHostEntry(entry, false, [&body] {
        std::forward<Body>(body)();
        return true;
    });
}

// Runs every step, each guarded on its own, so that one that throws does not skip the rest
// (shutting down must go to the end). True when none threw.
bool RunEveryStep(HostEntry const& entry, std::initializer_list<void (*)()> steps) noexcept;

} // namespace Velmora

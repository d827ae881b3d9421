#include "HostEntry.hpp"

#include "Host/HostPort.hpp"
#include "Logger.hpp"

#include <string>

namespace Velmora {

char const* const kUnexpectedErrorMessage =
    "Velmora: the command stopped on an unexpected error. Details are in the log (View Logs).";

namespace {

// The logger may be down or out of memory itself: a line that cannot be written is lost.
void LogQuietly(LogLevel level, HostEntry const& entry, char const* happened, char const* what) {
    try {
        Logger::Get().Log(level, std::string("Velmora: ") + entry.name + ": " + happened + ": " +
                                     (what != nullptr ? what : "an exception of unknown type"));
    } catch (...) {
    }
}

} // namespace

namespace ve_detail {

void AskToStayLoaded(HostEntry const& entry) noexcept {
    if (!entry.asksToStay || !Host::IsInstalled())
        return;
    try {
        Host::Get().KeepInMemory(true);
    } catch (std::exception const& error) {
        LogQuietly(LogLevel::Warn, entry, "asking to stay loaded threw", error.what());
    } catch (...) {
        LogQuietly(LogLevel::Warn, entry, "asking to stay loaded threw", nullptr);
    }
}

void ReportEscapedException(HostEntry const& entry, char const* what) noexcept {
    LogQuietly(LogLevel::Error, entry, "stopped on an unexpected error", what);
    if (!entry.userStarted || !Host::IsInstalled())
        return;
    try {
        Host::Get().WriteReport(kUnexpectedErrorMessage, true);
    } catch (std::exception const& error) {
        LogQuietly(LogLevel::Error, entry, "the alert about it threw too", error.what());
    } catch (...) {
        LogQuietly(LogLevel::Error, entry, "the alert about it threw too", nullptr);
    }
}

} // namespace ve_detail

bool RunEveryStep(HostEntry const& entry, std::initializer_list<void (*)()> steps) noexcept {
    // The steps belong to one call: it asks to stay loaded once and alerts the user once.
    HostEntry step = entry;
    bool allRan = true;
    for (void (*run)() : steps) {
        bool const ran = GuardHostEntry(step, false, [run] {
            run();
            return true;
        });
        step.asksToStay = false;
        step.userStarted = step.userStarted && ran;
        allRan = allRan && ran;
    }
    return allRan;
}

} // namespace Velmora

// The one owner of the add-on's own threads. Every thread the add-on starts is started here,
// so that FreeData can tell them all to stop and wait for them before the host unloads the
// code they run. Each thread's body is caught at its edge: an exception leaving a thread would
// end the host.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

namespace Velmora::BackgroundWork {

using WorkId = std::uint64_t;

// Starts body on a thread of its own. An exception escaping body is logged under name and,
// when failureReport is not empty, told to the user once as an alert from the main thread.
// Throws std::system_error when no thread can be started.
WorkId Start(std::string name, std::function<void()> body, std::string failureReport = {});

// True on a thread started here once it has been asked to stop; false on any other thread.
bool StopRequested();

// Sleeps for duration unless the calling thread is asked to stop first; true when the whole
// time passed.
bool SleepFor(std::chrono::milliseconds duration);

// Asks one thread to stop and waits until it has ended. Must not be called by that thread.
void StopAndJoin(WorkId id);

// Asks every thread to stop and waits up to timeout for them all; returns how many were still
// running when the time was up (they are let go and logged).
std::size_t StopAll(std::chrono::milliseconds timeout);

// Threads started here that have not yet ended.
std::size_t Running();

} // namespace Velmora::BackgroundWork

#pragma once

#include <cstdint>

namespace Velmora {

// Watches the settings folder for trigger files that start the main commands.
class TriggerFilePoller {
public:
    static void Start();
    static void Stop();
    static bool IsRunning();
    // Passes over the trigger files finished since the process started. Once two more have
    // finished after a file was created, any command it triggered has been posted.
    static std::uint64_t CompletedPasses();
};

} // namespace Velmora

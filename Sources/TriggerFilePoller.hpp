#pragma once

namespace Velmora {

// Watches the settings folder for trigger files that start the main commands.
class TriggerFilePoller {
public:
    static void Start();
    static void Stop();
    static bool IsRunning();
};

} // namespace Velmora

#include "Upload/TokenRefresh.hpp"

#include "BackgroundWork.hpp"
#include "Logger.hpp"
#include "MainThreadDispatcher.hpp"
#include "Panel/WebAppPalette.hpp"
#include "Settings.hpp"

#include <chrono>
#include <cstdint>

namespace Velmora {

namespace {

constexpr int kPollRounds = 50;
constexpr std::chrono::milliseconds kPollStep{100};

} // namespace

std::string PullFreshAuthToken(std::string const& pickedUpLine) {
    Settings& settings = Settings::Get();
    std::uint64_t const before = settings.AuthTokenVersion();
    // Only the main thread may talk to the panel.
    MainThreadDispatcher::Post([] {
        if (WebAppPalette::HasInstance())
            WebAppPalette::GetInstance().RequestAuthTokenRefresh();
    });
    for (int round = 0; round < kPollRounds && settings.AuthTokenVersion() == before; ++round) {
        if (!BackgroundWork::SleepFor(kPollStep))
            break; // the add-on is being unloaded
    }
    if (settings.AuthTokenVersion() != before)
        Logger::Get().Log(LogLevel::Info, pickedUpLine);
    return settings.AuthToken();
}

} // namespace Velmora

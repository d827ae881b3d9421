// The token provider behind a request's single 401 retry: the worker asks the page for its
// current sign-in token and waits a little for it to arrive.
#pragma once

#include <string>

namespace Velmora {

// Posts a token refresh request to the main thread, then polls the settings' token version
// every 100 ms, at most 50 times. Logs pickedUpLine at Info when a new token arrived; returns
// the settings' current token in any case. Worker threads only: it blocks for up to 5 s.
std::string PullFreshAuthToken(std::string const& pickedUpLine);

} // namespace Velmora

// Stand-in written from archicad-api.md: the browser's loading-state event (section 5.5).
#pragma once

namespace DG {

struct BrowserLoadingStateChangeArg {
    bool isLoading;
    bool canGoBack;
    bool canGoForward;
};

} // namespace DG

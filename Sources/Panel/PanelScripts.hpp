// The scripts the panel runs in the page. Each is one line, so that a transcript of the
// page shows one script per line.
#pragma once

namespace Velmora {

// Waits up to about five seconds for window.velmora, then hands the page's own sign-in token
// (window.getFirebaseToken) to window.velmora.onAuthToken. Swallows every error.
extern char const kTokenPullScript[];

// Input shim version 3, once per document: turns the host's pinch and control-scroll into
// page zoom through window.__vlmSyntheticCtrlWheel and repeats a double click the page
// ignored.
extern char const kInputShimScript[];

} // namespace Velmora

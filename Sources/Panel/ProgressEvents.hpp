// Progress of panel-visible work goes to the web panel when there is one, and to one optional
// observer besides (the simulated host prints it; a host without a panel may show it).
#pragma once

#include "Panel/WebAppPalette.hpp"

#include <functional>
#include <string>

namespace Velmora {

using ProgressObserver =
    std::function<void(ExtractionKind kind, int percent, std::string const& status)>;

// Replaces the observer; an empty one removes it. Main thread only.
void SetProgressObserver(ProgressObserver observer);

// Pushes the progress to the panel (when it exists) and tells the observer. Main thread only.
void PublishProgress(ExtractionKind kind, int percent, std::string const& status);

} // namespace Velmora

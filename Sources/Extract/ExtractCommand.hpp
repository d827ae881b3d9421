// The extract-and-upload command behind the menu item, the trigger file and the panel:
// capture the 3D view, crop it to the safe frame, render the mask, upload both.
#pragma once

#include "Host/HostTypes.hpp"
#include "Settings.hpp"

namespace Velmora {

// True from the moment an extraction is accepted until its upload has completed (or it
// ended before the upload started); a second extraction is refused meanwhile.
bool IsExtractInProgress();
// IsExtractInProgress, and also while the upload's outcome is still being handed to the
// main thread: false only when nothing of an extraction is left to run.
bool IsExtractActive();

// The pause between accepting an extraction and capturing, which lets the host finish
// redrawing the 3D window; 250 ms. A host whose window redraws synchronously (the simulated
// one) may be given a shorter pause.
int CaptureDelayMs();
void SetCaptureDelayMs(int delayMs);

// Accepts the extraction and schedules the capture on the main thread; 0 when scheduled.
Host::GSErrCode RunExtractAndUpload(ExtractOptions const& options);

} // namespace Velmora

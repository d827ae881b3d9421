#include "Panel/ProgressEvents.hpp"

#include <utility>

namespace Velmora {

namespace {

// Main thread only, like every panel push, so it needs no lock.
ProgressObserver& Observer() {
    static ProgressObserver observer;
    return observer;
}

} // namespace

void SetProgressObserver(ProgressObserver observer) {
    Observer() = std::move(observer);
}

void PublishProgress(ExtractionKind kind, int percent, std::string const& status) {
    if (WebAppPalette::HasInstance())
        WebAppPalette::GetInstance().PushExtractionProgress(kind, percent, status);
    if (Observer())
        Observer()(kind, percent, status);
}

} // namespace Velmora

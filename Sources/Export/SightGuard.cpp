// The export generates its model in a sight of its own; the user's sight comes back on every
// path, and the created one is deleted.
#include "Export/ModelExport.hpp"
#include "Host/HostPort.hpp"
#include "Logger.hpp"

namespace Velmora {

Host::GSErrCode SightGuard::Select() {
    void* previous = nullptr;
    Host::GSErrCode const err = Host::Get().Sight().SelectSight(created_, &previous);
    if (err == Host::Error::NoError) {
        previous_ = previous;
        selected_ = true;
    }
    return err;
}

// Each step on its own: a failing restore must not keep the sight from being deleted.
SightGuard::~SightGuard() {
    if (selected_) {
        try {
            void* replaced = nullptr;
            Host::Get().Sight().SelectSight(previous_, &replaced);
        } catch (...) {
            Logger::Get().Log(LogLevel::Error, "ModelExport: restoring the previous sight threw");
        }
    }
    try {
        Host::Get().Sight().DeleteSight(created_);
    } catch (...) {
        Logger::Get().Log(LogLevel::Error, "ModelExport: deleting the export's sight threw");
    }
}

} // namespace Velmora

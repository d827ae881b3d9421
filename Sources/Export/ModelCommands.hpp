// The model commands: export to disk and send to the web app share one in-flight flag and
// the export-and-report step.
#pragma once

#include "Export/ModelExport.hpp"
#include "Host/HostTypes.hpp"

#include <cstdint>
#include <string>

namespace Velmora {

// Exports the visible model and uploads it to the web app.
Host::GSErrCode RunSendModelToVelmora();
// Exports the visible model to last_model.glb in the log folder.
Host::GSErrCode RunExportModelToDisk();

// True while a model export or send is under way.
bool IsSendModelInProgress();
// Sets the in-flight flag if it was clear; false when another model job holds it.
bool TryClaimModelJob();
void ReleaseModelJob();

// Holds the in-flight flag for a scope; Keep() hands it on (e.g. to an upload worker, which
// then calls ReleaseModelJob itself).
class ModelJobClaim {
public:
    ModelJobClaim() : claimed_(TryClaimModelJob()) {}
    ~ModelJobClaim() {
        if (claimed_)
            ReleaseModelJob();
    }
    ModelJobClaim(const ModelJobClaim&) = delete;
    ModelJobClaim& operator=(const ModelJobClaim&) = delete;

    bool Claimed() const { return claimed_; }
    void Keep() { claimed_ = false; }

private:
    bool claimed_;
};

// Who hears about a failure besides the report window.
enum class Audience : int {
    ReportWindow = 0, // the disk command
    WebPanel = 1,     // the send command: also the web panel, when there is one
};

// Runs the export with the settings' options and keeps a copy as last_model.glb in the log
// folder (savedPath, empty when it could not be written). Returns whether a file was made;
// failures are reported to the audience.
bool ExportAndReport(ModelExportResult& out, std::string& savedPath, Audience audience);

// The message refusing a file above 200 MB (209715200 bytes) to send; empty when it may go.
std::string SendSizeRefusal(std::uint64_t bytes);

// "%.0f KB" below 1 MiB, else "%.1f MB".
std::string FormatModelSize(std::uint64_t bytes);

} // namespace Velmora

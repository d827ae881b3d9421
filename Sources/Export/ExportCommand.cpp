// Exporting the model to disk, and the export-and-report step that the send shares. Log lines
// carry the send's prefix in both uses, since the send is where this step began.
#include "Export/ModelCommands.hpp"
#include "Host/HostPort.hpp"
#include "Logger.hpp"
#include "Panel/WebAppPalette.hpp"
#include "Settings.hpp"

#include <atomic>
#include <cstdio>
#include <filesystem>
#include <fstream>

namespace Velmora {

namespace {

std::atomic<bool> gInFlight{false};

constexpr char kCopyName[] = "last_model.glb";
constexpr char kNothingToSend[] =
    "Velmora: nothing to send. There is no visible 3D geometry in this project. Show the layers "
    "you want to place, then try again.";

ModelExportOptions OptionsFromSettings() {
    Settings const& settings = Settings::Get();
    ModelExportOptions options;
    options.includeSiteMesh = settings.includeSiteMesh;
    options.buildingOnly = settings.buildingOnly;
    options.excludeVegetation = settings.excludeVegetation;
    return options;
}

// The copy in the log folder; empty when the folder or the file cannot be written.
std::string WriteCopy(const std::vector<unsigned char>& glb) {
    std::string const folder = Logger::Get().LogDir();
    if (folder.empty())
        return {};
    std::string const path = (std::filesystem::path(folder) / kCopyName).string();
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file.write(reinterpret_cast<const char*>(glb.data()), std::streamsize(glb.size()));
    file.close();
    return file ? path : std::string();
}

// While the panel is open, shown and signed in it shows the failure, so the report window
// takes it without an alert.
void ReportFailure(const std::string& message, Audience audience) {
    bool alert = true;
    if (audience == Audience::WebPanel && WebAppPalette::HasInstance()) {
        WebAppPalette& palette = WebAppPalette::GetInstance();
        palette.PushExtractionError(ExtractionKind::Model, message);
        PanelState const state = palette.CurrentState();
        alert = !(state.visible && state.documentReady && state.signedIn);
    }
    Host::Get().WriteReport(message, alert);
}

} // namespace

bool IsSendModelInProgress() {
    return gInFlight.load();
}

bool TryClaimModelJob() {
    bool expected = false;
    return gInFlight.compare_exchange_strong(expected, true);
}

void ReleaseModelJob() {
    gInFlight.store(false);
}

std::string FormatModelSize(std::uint64_t bytes) {
    char text[32];
    if (bytes < 1048576)
        std::snprintf(text, sizeof text, "%.0f KB", double(bytes) * (1.0 / 1024.0));
    else
        std::snprintf(text, sizeof text, "%.1f MB", double(bytes) * (1.0 / 1048576.0));
    return text;
}

bool ExportAndReport(ModelExportResult& out, std::string& savedPath, Audience audience) {
    savedPath.clear();
    out = ExportVisible3DModelToGlb(OptionsFromSettings());
    if (!out.empty && out.status == 0 && !out.glb.empty()) {
        savedPath = WriteCopy(out.glb);
        if (!savedPath.empty())
            Logger::Get().Log(LogLevel::Info, "SendModel: wrote " + savedPath);
        else
            Logger::Get().Log(LogLevel::Warn,
                              "SendModel: could not write the .glb copy to the log folder");
        return true;
    }
    if (out.empty) {
        Logger::Get().Log(LogLevel::Warn, "SendModel: empty model (" + out.error + ")");
        ReportFailure(kNothingToSend, audience);
    } else {
        Logger::Get().Log(LogLevel::Error, "SendModel: export failed: " + out.error);
        ReportFailure("Velmora: could not read the 3D model. " + out.error, audience);
    }
    return false;
}

Host::GSErrCode RunExportModelToDisk() {
    ModelJobClaim claim;
    if (!claim.Claimed()) {
        Host::Get().WriteReport("Velmora: a model is already being prepared.", true);
        return Host::Error::General;
    }
    ModelExportResult result;
    std::string savedPath;
    if (!ExportAndReport(result, savedPath, Audience::ReportWindow))
        return Host::Error::NoError;
    std::string message = "Velmora: model exported. " + std::to_string(result.stats.triangleCount) +
                          " triangles, " + FormatModelSize(result.glb.size()) + ".";
    if (!savedPath.empty())
        message += "\nSaved to " + savedPath;
    Host::Get().WriteReport(message, false);
    return Host::Error::NoError;
}

} // namespace Velmora

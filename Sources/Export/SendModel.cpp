// Sending the model to the web app: the export on the main thread, then the begin request, the
// PUT of the file to the signed address and the confirm request on one worker, with progress,
// success and every failure handed back to the main thread.
#include "BackgroundWork.hpp"
#include "Export/ModelCommands.hpp"
#include "Export/ModelUploadProtocol.hpp"
#include "Host/HostPort.hpp"
#include "Logger.hpp"
#include "MainThreadDispatcher.hpp"
#include "Panel/ProgressEvents.hpp"
#include "Panel/WebAppPalette.hpp"
#include "Settings.hpp"
#include "Upload/TokenRefresh.hpp"
#include "Upload/Uploader.hpp"

#include <exception>
#include <memory>
#include <utility>
#include <vector>

namespace Velmora {

namespace {

constexpr std::uint64_t kMaxSendBytes = 209715200; // 200 MB
constexpr int kExportingPercent = 10;
constexpr int kCheckingPercent = 95;
constexpr char kJson[] = "application/json";
constexpr char kGlbType[] = "model/gltf-binary";

void Log(LogLevel level, std::string const& text) {
    Logger::Get().Log(level, "SendModel: " + text);
}

// ---- Main thread: panel and report window --------------------------------------------------

bool PanelFullyUp() {
    if (!WebAppPalette::HasInstance())
        return false;
    PanelState const state = WebAppPalette::GetInstance().CurrentState();
    return state.visible && state.documentReady && state.signedIn;
}

// To the panel, and to the report window as an alert when asked or when the panel cannot
// show it.
void ReportFailure(std::string const& message, bool alwaysAlert = false) {
    if (WebAppPalette::HasInstance())
        WebAppPalette::GetInstance().PushExtractionError(ExtractionKind::Model, message);
    Host::Get().WriteReport(message, alwaysAlert || !PanelFullyUp());
}

void ReportUploaded(std::uint64_t triangleCount) {
    if (WebAppPalette::HasInstance())
        WebAppPalette::GetInstance().PushExtractionComplete(ExtractionKind::Model);
    Host::Get().WriteReport("Velmora: model uploaded. " + std::to_string(triangleCount) +
                                " triangles. You can now place it in the Location widget.",
                            false);
}

// ---- Worker: what it hands to the main thread ----------------------------------------------

void PostProgress(int percent, char const* status) {
    MainThreadDispatcher::Post(
        [percent, status] { PublishProgress(ExtractionKind::Model, percent, status); });
}

struct FixedFailure {
    UploadOutcome outcome;
    char const* message;
};

constexpr FixedFailure kFixedFailures[] = {
    {UploadOutcome::Auth,
     "Velmora: you are not signed in. Sign in via the Velmora panel and try again."},
    {UploadOutcome::Forbidden, "Velmora: upload forbidden (403). Please contact support."},
};

// `what` names the phase that failed, e.g. "could not start the upload".
std::string FailureMessage(std::string const& what, UploadResult const& result) {
    for (FixedFailure const& fixed : kFixedFailures)
        if (fixed.outcome == result.outcome)
            return fixed.message;
    if (result.outcome == UploadOutcome::Network)
        return "Velmora: " + what +
               " because of a network error. Check your connection and try again.";
    std::string message = "Velmora: " + what + ".";
    std::string const detail = ServerFailureDetail(long(result.httpStatus), result.body);
    if (!detail.empty())
        message += " " + detail;
    return message;
}

void FailOnMainThread(std::string const& what, UploadResult const& result) {
    std::string const message = FailureMessage(what, result);
    bool const alwaysAlert = result.outcome == UploadOutcome::Auth;
    MainThreadDispatcher::Post([message, alwaysAlert] { ReportFailure(message, alwaysAlert); });
}

// ---- Worker: the three phases --------------------------------------------------------------

struct SendJob {
    std::string endpoint;
    std::string token;
    std::string beginBody;
    std::vector<unsigned char> glb;
    std::uint64_t triangleCount = 0;
};

std::string PullFreshToken() {
    return PullFreshAuthToken("SendModel: 401 retry picked up a freshly pulled auth token");
}

UploadResult PostJson(SendJob const& job, std::string const& token, std::string const& body) {
    return Uploader::PostRawBlocking(job.endpoint, token, kJson, body.data(), body.size(),
                                     PullFreshToken);
}

struct BeginAnswer {
    std::string modelId;
    std::string uploadUrl;
    std::string key;
};

bool Begin(SendJob const& job, BeginAnswer& answer) {
    UploadResult const result = PostJson(job, job.token, job.beginBody);
    if (result.outcome != UploadOutcome::Ok) {
        FailOnMainThread("could not start the upload", result);
        return false;
    }
    answer.modelId = ExtractJsonStringField(result.body, "model_id");
    answer.uploadUrl = ExtractJsonStringField(result.body, "upload_url");
    answer.key = ExtractJsonStringField(result.body, "key");
    if (answer.modelId.empty() || answer.uploadUrl.empty()) {
        Log(LogLevel::Error, "begin returned no model_id/upload_url: " + result.body);
        MainThreadDispatcher::Post([] {
            ReportFailure("Velmora: could not start the upload. The server did not return an "
                          "upload address.");
        });
        return false;
    }
    Log(LogLevel::Info, "begin OK, model_id=" + answer.modelId + " key=" + answer.key);
    return true;
}

bool PutFile(SendJob const& job, std::string const& uploadUrl) {
    UploadProgressThrottle throttle(UploadProgressThrottle::kStartPercent,
                                    UploadProgressThrottle::Clock::now(),
                                    UploadProgressThrottle::kMinInterval);
    auto const onProgress = [&throttle](std::uint64_t sent, std::uint64_t total) {
        int const percent = ModelUploadPercent(sent, total);
        if (throttle.ShouldSend(percent, UploadProgressThrottle::Clock::now()))
            PostProgress(percent, "Uploading");
    };
    UploadResult const result =
        Uploader::PutRawBlocking(uploadUrl, kGlbType, job.glb.data(), job.glb.size(), onProgress);
    if (result.outcome != UploadOutcome::Ok) {
        Log(LogLevel::Error,
            "PUT failed, status=" + std::to_string(result.httpStatus) + " body=" + result.body);
        FailOnMainThread("could not upload the model file", result);
        return false;
    }
    Log(LogLevel::Info, "PUT OK (" + std::to_string(job.glb.size()) + " bytes)");
    return true;
}

bool Confirm(SendJob const& job, std::string const& modelId) {
    // The token may have been refreshed during the PUT.
    UploadResult const result =
        PostJson(job, Settings::Get().AuthToken(), BuildConfirmJson(modelId));
    if (result.outcome != UploadOutcome::Ok) {
        Log(LogLevel::Error,
            "confirm failed, status=" + std::to_string(result.httpStatus) + " body=" + result.body);
        FailOnMainThread("the server rejected the uploaded model", result);
        return false;
    }
    Log(LogLevel::Info,
        "confirm OK, model_id=" + modelId + " key=" + ExtractJsonStringField(result.body, "key"));
    return true;
}

void UploadPhases(SendJob const& job) {
    PostProgress(UploadProgressThrottle::kStartPercent, "Uploading");
    BeginAnswer answer;
    if (!Begin(job, answer) || !PutFile(job, answer.uploadUrl))
        return;
    PostProgress(kCheckingPercent, "Checking");
    if (!Confirm(job, answer.modelId))
        return;
    std::uint64_t const triangles = job.triangleCount;
    MainThreadDispatcher::Post([triangles] { ReportUploaded(triangles); });
}

// The worker owns the in-flight flag and clears it last, after its final post, so that
// nobody sees the send finished while its outcome is still on the way.
void ExportAndUpload(std::shared_ptr<SendJob> job) {
    try {
        UploadPhases(*job);
    } catch (std::exception const& e) {
        Log(LogLevel::Error, std::string("upload worker failed: ") + e.what());
        FailOnMainThread("could not upload the model file", UploadResult{});
    } catch (...) {
        Log(LogLevel::Error, "upload worker failed");
        FailOnMainThread("could not upload the model file", UploadResult{});
    }
    job.reset();
    ReleaseModelJob();
}

// ---- Main thread: the command --------------------------------------------------------------

ModelUploadMetadata MetadataOf(ModelExportResult const& result) {
    ModelUploadMetadata metadata;
    metadata.fileName = result.fileName;
    metadata.triangleCount = result.stats.triangleCount;
    metadata.bbox = {result.stats.extent[0], result.stats.extent[1], result.stats.extent[2]};
    metadata.originalOffset = {result.stats.originalOffset[0], result.stats.originalOffset[1],
                               result.stats.originalOffset[2]};
    metadata.projectName = result.projectName;
    metadata.viewName = result.viewName;
    metadata.appVersion = result.appVersion;
    return metadata;
}

bool RefuseOversized(std::size_t bytes) {
    std::string const refusal = SendSizeRefusal(bytes);
    if (refusal.empty())
        return false;
    Log(LogLevel::Error, "glb " + std::to_string(bytes) + " bytes exceeds the 200 MB cap");
    ReportFailure(refusal);
    return true;
}

bool HasToken(std::string const& token) {
    if (!token.empty())
        return true;
    Log(LogLevel::Warn, "no auth token; aborting");
    ReportFailure("Velmora: please sign in via the Velmora panel before sending a model.", true);
    return false;
}

// True when the worker took the job (and the in-flight flag with it).
bool StartWorker(std::unique_ptr<SendJob> job) {
    try {
        BackgroundWork::Start("SendModel",
                              [shared = std::shared_ptr<SendJob>(std::move(job))]() mutable {
                                  ExportAndUpload(std::move(shared));
                              });
        return true;
    } catch (std::exception const& e) {
        Log(LogLevel::Error, std::string("could not start the upload thread: ") + e.what());
        ReportFailure("Velmora: could not start the upload.");
        return false;
    }
}

} // namespace

std::string SendSizeRefusal(std::uint64_t bytes) {
    if (bytes <= kMaxSendBytes)
        return {};
    return "Velmora: this model is too large to send (" + FormatModelSize(bytes) +
           ", the limit is 200 MB). Hide some layers and try again.";
}

Host::GSErrCode RunSendModelToVelmora() {
    ModelJobClaim claim;
    if (!claim.Claimed()) {
        Host::Get().WriteReport("Velmora: a model is already being sent.", true);
        return Host::Error::NoError;
    }
    auto job = std::make_unique<SendJob>();
    job->token = Settings::Get().AuthToken();
    if (!HasToken(job->token))
        return Host::Error::NoError;

    PublishProgress(ExtractionKind::Model, kExportingPercent, "Exporting");
    ModelExportResult result;
    std::string savedPath;
    if (!ExportAndReport(result, savedPath, Audience::WebPanel) ||
        RefuseOversized(result.glb.size()))
        return Host::Error::NoError;

    job->beginBody = BuildBeginJson(MetadataOf(result));
    Log(LogLevel::Info, "begin " + job->beginBody);
    job->endpoint = Settings::Get().ModelUploadEndpoint();
    Log(LogLevel::Info,
        "uploading " + std::to_string(result.glb.size()) + " bytes via " + job->endpoint);
    job->triangleCount = result.stats.triangleCount;
    job->glb = std::move(result.glb);
    if (StartWorker(std::move(job)))
        claim.Keep();
    return Host::Error::NoError;
}

} // namespace Velmora

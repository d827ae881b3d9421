#include "Extract/ExtractCommand.hpp"

#include "Extract/FileBytes.hpp"
#include "Extract/Raster.hpp"
#include "Extract/RatioMaskRenderer.hpp"
#include "Extract/ViewExtractor.hpp"
#include "Host/HostPort.hpp"
#include "Logger.hpp"
#include "MainThreadDispatcher.hpp"
#include "Panel/WebAppPalette.hpp"
#include "Platform/ImageService.hpp"
#include "Upload/TokenRefresh.hpp"
#include "Upload/Uploader.hpp"

#include <atomic>
#include <cstdio>
#include <filesystem>
#include <memory>

namespace Velmora {

namespace {

using Bytes = std::vector<unsigned char>;

constexpr int kDefaultCaptureDelayMs = 250;
std::atomic<int> gCaptureDelayMs{kDefaultCaptureDelayMs};
constexpr double kBlankMaskFraction = 0.004;

std::atomic<bool> gInFlight{false};
// Set while the upload's completion has yet to post its outcome to the main thread.
std::atomic<bool> gOutcomePending{false};

void Log(LogLevel level, std::string const& text) {
    Logger::Get().Log(level, "ExtractCommand: " + text);
}

std::string SizeText(int width, int height) {
    return std::to_string(width) + "x" + std::to_string(height);
}

// ---- Panel and report window ---------------------------------------------------------------

bool PanelFullyUp() {
    if (!WebAppPalette::HasInstance())
        return false;
    PanelState const state = WebAppPalette::GetInstance().CurrentState();
    return state.visible && state.documentReady && state.signedIn;
}

void PushProgress(int percent, char const* status) {
    if (WebAppPalette::HasInstance())
        WebAppPalette::GetInstance().PushExtractionProgress(ExtractionKind::View, percent, status);
}

void PushError(std::string const& message) {
    if (WebAppPalette::HasInstance())
        WebAppPalette::GetInstance().PushExtractionError(ExtractionKind::View, message);
}

void PushComplete() {
    if (WebAppPalette::HasInstance())
        WebAppPalette::GetInstance().PushExtractionComplete(ExtractionKind::View);
}

// A failure of the capture: to the panel, and to the report window as an alert unless the
// panel can show it.
void ReportFailure(std::string const& message) {
    PushError(message);
    Host::Get().WriteReport(message, !PanelFullyUp());
}

void WriteDebugDump(char const* name, Bytes const& bytes) {
    std::string const logDir = Logger::Get().LogDir();
    if (!logDir.empty())
        ve_detail::WriteAllBytes((std::filesystem::u8path(logDir) / name).u8string(), bytes);
}

// ---- Upload outcome ------------------------------------------------------------------------

struct OutcomeText {
    UploadOutcome outcome;
    char const* message; // Other takes the HTTP status
};

constexpr OutcomeText kOutcomeTexts[] = {
    {UploadOutcome::Ok, "Velmora: upload complete. The new scene will appear in the panel."},
    {UploadOutcome::Auth, "Velmora: upload rejected - you are not signed in. Sign in via the "
                          "Velmora panel and try again."},
    {UploadOutcome::Forbidden, "Velmora: upload forbidden (403). Please contact support."},
    {UploadOutcome::AspectRatio, "Velmora: the captured image aspect ratio is out of range. Try "
                                 "a different 3D view."},
    {UploadOutcome::Network, "Velmora: network error during upload. Check your connection and "
                             "try again."},
};

std::string OutcomeMessage(UploadResult const& result) {
    for (OutcomeText const& entry : kOutcomeTexts)
        if (entry.outcome == result.outcome)
            return entry.message;
    char text[64];
    std::snprintf(text, sizeof text, "Velmora: upload failed (HTTP %ld).",
                  static_cast<long>(result.httpStatus));
    return text;
}

// Main thread.
void DeliverOutcome(UploadResult const& result) {
    std::string const message = OutcomeMessage(result);
    if (result.outcome == UploadOutcome::Ok)
        PushComplete();
    else
        PushError(message);
    Host::Get().WriteReport(message, result.outcome == UploadOutcome::Auth || !PanelFullyUp());
}

// Upload worker.
void OnUploadComplete(UploadResult const& result) {
    gInFlight.exchange(false);
    Log(LogLevel::Info, std::string("upload outcome=") + Uploader::OutcomeName(result.outcome) +
                            " status=" + std::to_string(result.httpStatus));
    MainThreadDispatcher::Post([result] { DeliverOutcome(result); });
    gOutcomePending.store(false);
}

// Upload worker, after a 401: asks the page for its token and waits up to 5 s for it.
std::string PullFreshToken() {
    return PullFreshAuthToken("ExtractCommand: 401 retry picked up a freshly pulled auth token");
}

// ---- Capture stages (main thread) ----------------------------------------------------------

bool CaptureBeauty(ExtractOptions const& opt, ExtractedView& view, Bytes& beauty) {
    view = ExtractCurrentView(opt);
    if (view.err != Host::Error::NoError) {
        Log(LogLevel::Error, "capture failed, err=" + std::to_string(view.err));
        ReportFailure(view.err == Host::Error::BadWindow
                          ? "Velmora: please open a 3D view before extracting."
                          : "Velmora: could not capture the 3D view.");
        return false;
    }
    bool const read = ve_detail::ReadAllBytes(view.jpegPath, beauty);
    ve_detail::DeleteFileQuiet(view.jpegPath);
    if (!read) {
        Log(LogLevel::Error, "could not read beauty bytes");
        ReportFailure("Velmora: failed to read the captured image.");
        return false;
    }
    return true;
}

// The crop applied to the beauty image (needed false when none was), computed on the saved
// JPEG's own size: a display-scaled save is larger than the window.
SafeFrameRect CropBeautyToSafeFrame(ExtractedView const& view, int jpegW, int jpegH,
                                    Bytes& beauty) {
    if (!view.safeFrameOn)
        return {};
    if (jpegW > 0 && jpegH > 0 && (jpegW != view.windowWidth || jpegH != view.windowHeight))
        Log(LogLevel::Warn, "capture canvas " + SizeText(view.windowWidth, view.windowHeight) +
                                " but saved JPEG is " + SizeText(jpegW, jpegH) +
                                " (window-units vs raster mismatch - display scaling?); "
                                "safe-frame crop recomputed on the JPEG size");
    if (jpegW <= 0 || jpegH <= 0 || view.renderAspectW <= 0 || view.renderAspectH <= 0) {
        Log(LogLevel::Warn, "cannot recompute the safe-frame rect (JPEG size unparseable or "
                            "render aspect missing); skipping the crop - uploading uncropped, "
                            "mask stays uncropped");
        return {};
    }
    SafeFrameRect const rect =
        ComputeSafeFrameCrop(jpegW, jpegH, view.renderAspectW, view.renderAspectH);
    if (!rect.needed) {
        Log(LogLevel::Info, "safe-frame: saved JPEG already matches the render aspect; no beauty "
                            "crop needed");
        return {};
    }
    Bytes cropped;
    if (!CropJpegCentered(beauty, rect.x, rect.y, rect.width, rect.height, cropped)) {
        Log(LogLevel::Warn, "safe-frame crop failed; uploading the uncropped capture (mask stays "
                            "uncropped for alignment)");
        return {};
    }
    beauty.swap(cropped);
    Log(LogLevel::Info, "safe-frame crop applied: " + SizeText(jpegW, jpegH) + " -> " +
                            SizeText(rect.width, rect.height) + " at (" + std::to_string(rect.x) +
                            "," + std::to_string(rect.y) + ")");
    return rect;
}

void LogUploadedSize(ExtractedView const& view, SafeFrameRect const& crop, Bytes const& beauty) {
    int width = 0;
    int height = 0;
    if (!JpegPixelSize(beauty, width, height)) {
        Log(LogLevel::Warn, "could not parse uploaded JPEG dimensions");
        return;
    }
    std::string const expected =
        crop.needed ? SizeText(crop.width, crop.height) + " (safe-frame crop)"
                    : SizeText(view.windowWidth, view.windowHeight) + " (3D window)";
    Log(LogLevel::Info,
        "Velmora DIAG: expected=" + expected + ", uploaded JPEG=" + SizeText(width, height));
}

// Renders the mask and attaches it to the request when it is usable.
void AttachMask(ExtractOptions const& opt, ExtractedView const& view, int jpegW, int jpegH,
                SafeFrameRect const& crop, UploadRequest& request) {
    PushProgress(25, "Building selection mask");
    CameraParams camera = view.camera;
    if (jpegW > 0 && jpegH > 0) {
        camera.canvasWidth = jpegW;
        camera.canvasHeight = jpegH;
    }
    MaskOptions options;
    options.tempFolder = opt.tempFolder;
    options.splitInstances = opt.maskSplitInstances;
    options.safeFrame = crop;
    MaskResult mask;
    try {
        mask = RatioMaskRenderer::RenderMask(camera, options);
    } catch (...) {
        Log(LogLevel::Error, "mask render threw; uploading beauty only");
        return;
    }
    if (mask.err != Host::Error::NoError || mask.pngPath.empty()) {
        Log(LogLevel::Warn, "mask render skipped/failed (ratio mask); uploading beauty only");
        return;
    }
    double const f = mask.foregroundFraction;
    if (f >= 0.0 && f < kBlankMaskFraction) {
        Log(LogLevel::Warn, "mask effectively blank (" + std::to_string(int(f * 100 + 0.5)) +
                                "%); uploading beauty only");
        ve_detail::DeleteFileQuiet(mask.pngPath);
        return;
    }
    bool const read = ve_detail::ReadAllBytes(mask.pngPath, request.maskBytes);
    ve_detail::DeleteFileQuiet(mask.pngPath);
    if (!read)
        return;
    request.maskPresent = true;
    request.maskMime = "image/png";
    if (opt.debugDump)
        WriteDebugDump("last_mask.png", request.maskBytes);
}

// Clears what the capture and mask passes left on screen.
void RedrawAfterCapture() {
    if (Host::GSErrCode err = Host::Get().View().Redraw(); err != Host::Error::NoError)
        Log(LogLevel::Warn, "post-capture View_Redraw failed, err=" + std::to_string(err));
    else
        Log(LogLevel::Info, "post-capture View_Redraw OK (overlay refresh)");
}

void StartUpload(std::string const& token, UploadRequest const& request) {
    std::string const url = Settings::Get().apiBaseUrl + "/extractions-upload";
    Log(LogLevel::Info, std::string("starting upload (hasMask=") +
                            (request.maskPresent ? "true" : "false") +
                            ", image=" + std::to_string(request.imageBytes.size()) +
                            " bytes, mask=" + std::to_string(request.maskBytes.size()) + " bytes)");
    PushProgress(request.maskPresent ? 60 : 35, "Uploading");
    gOutcomePending.store(true);
    try {
        Uploader::Post(url, token, request, OnUploadComplete, PullFreshToken);
    } catch (std::exception const& e) {
        Log(LogLevel::Error, std::string("could not start the upload: ") + e.what());
        UploadResult failed;
        failed.outcome = UploadOutcome::Network;
        OnUploadComplete(failed);
    }
}

void CaptureAndUpload(ExtractOptions const& opt, std::string const& token) {
    ExtractedView view;
    UploadRequest request;
    if (!CaptureBeauty(opt, view, request.imageBytes)) {
        gInFlight.exchange(false);
        return;
    }
    int jpegW = 0;
    int jpegH = 0;
    if (!JpegPixelSize(request.imageBytes, jpegW, jpegH))
        jpegW = jpegH = 0;
    SafeFrameRect const crop = CropBeautyToSafeFrame(view, jpegW, jpegH, request.imageBytes);
    LogUploadedSize(view, crop, request.imageBytes);
    if (opt.debugDump)
        WriteDebugDump("last_extract.jpg", request.imageBytes);
    if (opt.includeMask)
        AttachMask(opt, view, jpegW, jpegH, crop, request);
    RedrawAfterCapture();

    request.imageMime = "image/jpeg";
    request.viewName = "Unnamed View";
    request.displayStyle = "CurrentView";
    request.useCurrentViewSettings = true;
    request.pluginVersion = "0.1.0";
    StartUpload(token, request);
}

// The delayed main-thread task: nothing may escape into the host's event loop.
void RunCaptureTask(ExtractOptions const& opt, std::string const& token) {
    try {
        CaptureAndUpload(opt, token);
    } catch (std::exception const& e) {
        Log(LogLevel::Error, std::string("capture threw: ") + e.what());
        ReportFailure("Velmora: could not capture the 3D view.");
        gInFlight.exchange(false);
    } catch (...) {
        Log(LogLevel::Error, "capture threw");
        ReportFailure("Velmora: could not capture the 3D view.");
        gInFlight.exchange(false);
    }
}

// Held by the delayed capture: when the capture is dropped unrun (the add-on is unloaded
// first), the extraction must not stay marked in flight.
class PendingCapture {
public:
    PendingCapture() = default;
    ~PendingCapture() {
        if (!started_)
            gInFlight.exchange(false);
    }
    PendingCapture(PendingCapture const&) = delete;
    PendingCapture& operator=(PendingCapture const&) = delete;
    void Start() { started_ = true; }

private:
    bool started_ = false;
};

} // namespace

bool IsExtractInProgress() {
    return gInFlight.load();
}

bool IsExtractActive() {
    return gInFlight.load() || gOutcomePending.load();
}

int CaptureDelayMs() {
    return gCaptureDelayMs.load();
}

void SetCaptureDelayMs(int delayMs) {
    gCaptureDelayMs.store(delayMs < 0 ? 0 : delayMs);
}

Host::GSErrCode RunExtractAndUpload(ExtractOptions const& options) {
    bool expected = false;
    if (!gInFlight.compare_exchange_strong(expected, true)) {
        Host::Get().WriteReport("Velmora: an extraction is already in progress.", true);
        return Host::Error::General;
    }
    try {
        std::string const token = Settings::Get().AuthToken();
        if (token.empty()) {
            gInFlight.exchange(false);
            Log(LogLevel::Warn, "no auth token; aborting extract");
            std::string const message =
                "Velmora: please sign in via the Velmora panel before extracting.";
            Host::Get().WriteReport(message, true);
            PushError(message);
            return Host::Error::General;
        }
        PushProgress(5, "Capturing 3D view");
        auto pending = std::make_shared<PendingCapture>();
        MainThreadDispatcher::PostAfter(CaptureDelayMs(), [options, token, pending] {
            pending->Start();
            RunCaptureTask(options, token);
        });
        return Host::Error::NoError;
    } catch (...) {
        // Free for the next try; the host entry that started it logs it and tells the user.
        gInFlight.exchange(false);
        throw;
    }
}

} // namespace Velmora

#include "Extract/RatioMaskRenderer.hpp"

#include "Extract/CategoryPalette.hpp"
#include "Extract/FileBytes.hpp"
#include "Extract/PngEncoder.hpp"
#include "Host/HostPort.hpp"
#include "Logger.hpp"

#include <cstdio>
#include <filesystem>
#include <vector>

namespace Velmora {

namespace {

using Bytes = std::vector<unsigned char>;

// The host element types that get a mask colour, in the order colours are handed out.
constexpr Host::API_ElemTypeID kMaskedTypes[] = {
    Host::API_WallID,    Host::API_SlabID,   Host::API_RoofID, Host::API_ColumnID,
    Host::API_BeamID,    Host::API_WindowID, Host::API_DoorID, Host::API_CurtainWallID,
    Host::API_RailingID, Host::API_ObjectID, Host::API_LampID, Host::API_StairID,
    Host::API_MeshID,    Host::API_ShellID,  Host::API_MorphID};

constexpr int kFirstInstanceIndex = kCategoryCount;                   // 15
constexpr int kInstanceCapacity = kLatticeSize - kFirstInstanceIndex; // 2182
constexpr unsigned char kBackgroundFloor = 250;

void Log(LogLevel level, std::string const& text) {
    Logger::Get().Log(level, "RatioMask: " + text);
}

Host::API_RGBAColor HostColor(Rgb8 color) {
    return {color.r / 255.0, color.g / 255.0, color.b / 255.0, 1.0};
}

constexpr Host::API_RGBAColor kWhite{1.0, 1.0, 1.0, 1.0};

// Re-applies the 3D style that was active before the capture switched engines.
class StyleGuard {
public:
    StyleGuard() = default;
    ~StyleGuard() {
        if (!switched_)
            return;
        try {
            if (Host::Get().View().Change3DStyle(&saved_) == Host::Error::NoError)
                return;
        } catch (...) {
        }
        Log(LogLevel::Error, "could NOT restore the original 3D style - restore it manually via "
                             "the 3D Styles dialog");
    }
    StyleGuard(StyleGuard const&) = delete;
    StyleGuard& operator=(StyleGuard const&) = delete;

    void Arm(Host::API_3DStyle const& saved) {
        saved_ = saved;
        switched_ = true;
    }

private:
    Host::API_3DStyle saved_;
    bool switched_ = false;
};

// Clears the highlight and redraws, so that it never outlives the capture.
class HighlightGuard {
public:
    HighlightGuard() = default;
    ~HighlightGuard() {
        if (!armed_)
            return;
        try {
            Host::Get().UserInput().ClearElementHighlight();
            Host::Get().View().Redraw();
        } catch (...) {
        }
    }
    HighlightGuard(HighlightGuard const&) = delete;
    HighlightGuard& operator=(HighlightGuard const&) = delete;

    void Arm() { armed_ = true; }

private:
    bool armed_ = false;
};

// Highlights are not drawn by the vectorial engine: switch to OpenGL for the capture pair.
// False when the switch was needed and failed.
bool EnsureHighlightEngine(StyleGuard& guard) {
    Host::API_3DStyle style;
    if (Host::Get().View().Get3DStyle(&style) != Host::Error::NoError || style.engineId != 0)
        return true;
    Host::API_3DStyle openGl = style;
    openGl.engineId = 1;
    if (Host::Get().View().Change3DStyle(&openGl) != Host::Error::NoError) {
        Log(LogLevel::Warn, "vectorial engine active and the OpenGL switch failed; skipping "
                            "mask (highlights would not render)");
        return false;
    }
    guard.Arm(style);
    Log(LogLevel::Info, "switched the current style to the OpenGL engine for the capture pair "
                        "(restored afterwards)");
    return true;
}

struct HighlightTables {
    Host::ElementColorTable colour;
    Host::ElementColorTable white;
    Bytes inUse = Bytes(kLatticeSize, 0);
    int categoryCount = 0;
    bool wrapped = false;
};

HighlightTables CollectHighlightTables(bool splitInstances) {
    HighlightTables tables;
    bool seen[kCategoryCount] = {};
    int nextInstance = kFirstInstanceIndex;
    for (Host::API_ElemTypeID type : kMaskedTypes) {
        Host::API_ElemType elemType;
        elemType.typeID = type;
        std::vector<Host::API_Guid> elements;
        if (Host::Get().Element().GetElemList(
                elemType, &elements, Host::ElemFilter::APIFilt_In3D) != Host::Error::NoError ||
            elements.empty())
            continue;
        Category const category = CategoryOfElemType(type);
        if (!seen[category]) {
            seen[category] = true;
            ++tables.categoryCount;
        }
        if (!splitInstances)
            tables.inUse[category] = 1;
        for (Host::API_Guid const& element : elements) {
            int index = category;
            if (splitInstances) {
                index = nextInstance;
                if (index >= kLatticeSize) {
                    index = kFirstInstanceIndex;
                    tables.wrapped = true;
                }
                tables.inUse[index] = 1;
                nextInstance = index + 1;
            }
            tables.colour[element] = HostColor(ColorForIndex(index));
            tables.white[element] = kWhite;
        }
    }
    return tables;
}

// Saves the window as a BMP, reads it back and removes the file.
bool RmCaptureWindowBmp(std::string const& tempFolder, Bytes& bytes) {
    std::string path;
    if (ve_detail::ResolveTempImageLocation(tempFolder, "bmp", path) != Host::Error::NoError)
        return false;
    if (Host::GSErrCode err = ve_detail::SaveCurrent3DWindow(path, Host::APIFType_BMPFile,
                                                             Host::APIColorDepth_MiC, false);
        err != Host::Error::NoError) {
        Log(LogLevel::Error, "BMP window save failed (err=" + std::to_string(err) + ")");
        return false;
    }
    bool const read = ve_detail::ReadAllBytes(path, bytes);
    ve_detail::DeleteFileQuiet(path);
    return read;
}

bool HighlightAndCapture(Host::ElementColorTable const& table, Host::API_RGBAColor const& other,
                         std::string const& tempFolder, Bytes& capture) {
    Host::Get().UserInput().SetElementHighlight(table, false, other);
    Host::Get().View().Redraw();
    return RmCaptureWindowBmp(tempFolder, capture);
}

std::uint32_t ReadLe(Bytes const& bytes, std::size_t offset, std::size_t size) {
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < size && offset + i < bytes.size(); ++i)
        value |= std::uint32_t(bytes[offset + i]) << (8 * i);
    return value;
}

void ReportUndecodableCapture(Bytes const& capture) {
    char magic[8];
    std::snprintf(magic, sizeof magic, "0x%04x", static_cast<unsigned>(ReadLe(capture, 0, 2)));
    Log(LogLevel::Error, "BMP decode failed; header: size=" + std::to_string(capture.size()) +
                             " magic=" + magic +
                             " dataOff=" + std::to_string(ReadLe(capture, 10, 4)) +
                             " hdrSize=" + std::to_string(ReadLe(capture, 14, 4)) +
                             " w=" + std::to_string(std::int32_t(ReadLe(capture, 18, 4))) +
                             " h=" + std::to_string(std::int32_t(ReadLe(capture, 22, 4))) +
                             " bppPlanes=" + std::to_string(ReadLe(capture, 26, 4)) +
                             " compr=" + std::to_string(ReadLe(capture, 30, 4)));
    std::string const logDir = Logger::Get().LogDir();
    if (!logDir.empty())
        ve_detail::WriteAllBytes((std::filesystem::u8path(logDir) / "ratio_fail_a.bmp").u8string(),
                                 capture);
}

// Enlarges the mask by the integer factor that tiling used; false when none fits.
bool MatchCanvas(Bytes& mask, int& width, int& height, CameraParams const& camera) {
    int const canvasW = camera.canvasWidth;
    int const canvasH = camera.canvasHeight;
    if (canvasW <= 0 || canvasH <= 0 || width <= 0 || height <= 0 ||
        (canvasW == width && canvasH == height))
        return true;
    int const k = canvasW / width;
    if (canvasW % width == 0 && canvasH % height == 0 && canvasH / height == k) {
        Bytes enlarged;
        if (ScaleRgbNearest(mask, width, height, k * width, k * height, enlarged)) {
            mask.swap(enlarged);
            width *= k;
            height *= k;
            Log(LogLevel::Info, "NN-upscaled x" + std::to_string(k) +
                                    " onto the stitched beauty canvas (" + std::to_string(canvasW) +
                                    "x" + std::to_string(canvasH) + ")");
            return true;
        }
    }
    Log(LogLevel::Error, "capture raster " + std::to_string(width) + "x" + std::to_string(height) +
                             " != beauty canvas " + std::to_string(canvasW) + "x" +
                             std::to_string(canvasH) +
                             " (deferred-restore invariant broken?); skipping mask");
    return false;
}

// Captures, recovers, aligns and writes the mask; the guards are the caller's.
MaskResult RenderWithTables(HighlightTables const& tables, CameraParams const& camera,
                            MaskOptions const& options, HighlightGuard& highlight) {
    MaskResult result;
    result.categoryCount = tables.categoryCount;
    Host::API_RGBAColor const other = HostColor(ColorForCategory(Other));
    Bytes colourCapture;
    Bytes referenceCapture;
    highlight.Arm();
    result.err = Host::Error::General;
    if (!HighlightAndCapture(tables.colour, other, options.tempFolder, colourCapture) ||
        !HighlightAndCapture(tables.white, kWhite, options.tempFolder, referenceCapture))
        return result;

    int width = 0;
    int height = 0;
    Bytes colour;
    if (!DecodeBmpToRgb(colourCapture, width, height, colour)) {
        ReportUndecodableCapture(colourCapture);
        return result;
    }
    int refWidth = 0;
    int refHeight = 0;
    Bytes reference;
    DecodeBmpToRgb(referenceCapture, refWidth, refHeight, reference);
    if (refWidth != width || refHeight != height) {
        Log(LogLevel::Error, "capture pair sizes diverge (" + std::to_string(width) + "x" +
                                 std::to_string(height) + " vs " + std::to_string(refWidth) + "x" +
                                 std::to_string(refHeight) + "); skipping mask");
        return result;
    }
    Bytes mask;
    if (!RatioRecoverColors(colour, reference, width, height, mask, 4))
        return result;
    SnapRgbToLatticeSet(mask, width, height, tables.inUse, kBackgroundFloor, 64);
    if (!MatchCanvas(mask, width, height, camera))
        return result;
    if (options.safeFrame.needed && !CropRgbInPlace(mask, width, height, options.safeFrame)) {
        Log(LogLevel::Error, "safe-frame crop does not fit the mask canvas; skipping mask (never "
                             "ship unaligned)");
        return result;
    }
    result.foregroundFraction = MaskForegroundFraction(mask, width, height, kBackgroundFloor);
    Bytes png;
    if (!EncodeRgbToPng(mask, width, height, png) || png.empty()) {
        Log(LogLevel::Error, "PNG encode failed");
        return result;
    }
    std::string path;
    if (ve_detail::ResolveTempPngLocation(options.tempFolder, path) != Host::Error::NoError)
        return result;
    if (!ve_detail::WriteAllBytes(path, png)) {
        Log(LogLevel::Error, "could not write the mask PNG");
        return result;
    }
    result.pngPath = path;
    result.err = Host::Error::NoError;
    char fraction[32];
    std::snprintf(fraction, sizeof fraction, "%.6f", result.foregroundFraction);
    Log(LogLevel::Info, "mask ready " + std::to_string(width) + "x" + std::to_string(height) +
                            " (foreground " + fraction + ")");
    return result;
}

} // namespace

namespace RatioMaskRenderer {

MaskResult RenderMask(CameraParams const& camera, MaskOptions const& options) {
    MaskResult result;
    if (!IsCurrent3DWindow()) {
        Log(LogLevel::Warn, "current window is not 3D; skipping mask");
        return result;
    }
    StyleGuard style;
    if (!EnsureHighlightEngine(style)) {
        result.err = Host::Error::General;
        return result;
    }
    HighlightTables tables = CollectHighlightTables(options.splitInstances);
    result.categoryCount = tables.categoryCount;
    if (tables.colour.empty()) {
        Log(LogLevel::Warn, "no 3D-visible elements; skipping mask");
        return result;
    }
    if (tables.wrapped)
        Log(LogLevel::Warn, "more than " + std::to_string(kInstanceCapacity) +
                                " elements - instance colours wrapped and now repeat");
    tables.inUse[Other] = 1;
    Log(LogLevel::Info,
        "highlighting " + std::to_string(tables.colour.size()) + " elements across " +
            std::to_string(tables.categoryCount) + " categories (" +
            (options.splitInstances ? "per-instance colours" : "per-category colours") + ")");
    HighlightGuard highlight;
    return RenderWithTables(tables, camera, options, highlight);
}

} // namespace RatioMaskRenderer
} // namespace Velmora
